// The one error object of the library. Every check makes a VException on
// the stack and calls React(); the library never throws by itself. An
// application that wants C++ exceptions installs a handler that copies the
// object and throws it.
#ifndef VEXAOBJ_VEXCEPTION_H
#define VEXAOBJ_VEXCEPTION_H

#include <vexaobj/VBase.h>

namespace Vexa {

class VTuple;
class VException;

typedef void (*VHandlerProc)(const VException& exception);

class VException {
 public:
  VException(const char* file, Vlong line, const char* proc, unsigned int err,
             const char* message);
  VException(const char* file, Vlong line, const char* proc, unsigned int err);
  VException(const char* file, Vlong line, const char* proc,
             const char* message);
  // Parses the tuple form; a missing or mistyped slot takes its default.
  VException(const VTuple& tuple);
  VException(const VException& other);
  // Copies line, err and the three strings; user_data stays as it was.
  VException& operator=(const VException& other);
  ~VException();

  // Calls the installed handler, or prints the report and ends the process
  // with exit status 1.
  void React() const;
  void PrintException() const;
  // Writes the tuple form into `out` without clearing it first.
  void ToVTuple(VTuple* out) const;

  // Stores `proc` as the handler and returns the previous one.
  static VHandlerProc InstallVHandler(VHandlerProc proc);
  // Appends the named slots of a tuple form to `value`.
  static void GetExceptionData(const VTuple& exception, const VTuple& name,
                               VTuple* value);

  static VHandlerProc handler;

  Vlong line;
  char* file;
  char* proc;
  unsigned int err;
  char* message;  // null only after a failed allocation
  VTuple* user_data;

 private:
  void InitException(const char* file, Vlong line, const char* proc,
                     unsigned int err, const char* message,
                     const VTuple& user_data);
  // Writes the report into `buffer` of `size` bytes.
  void FormatReport(char* buffer, unsigned long size) const;
  // The message, or "Out of memory" in place of a failed copy.
  const char* MessageOrOutOfMemory() const;
};

}  // namespace Vexa

#endif  // VEXAOBJ_VEXCEPTION_H
