// VException: construction, copying, and the report that ends the process
// when no handler is installed.
#include <vexaobj/VException.h>

#include <inttypes.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <new>

#include <vexa/runtime.h>
#include <vexaobj/VTuple.h>

namespace Vexa {

VHandlerProc VException::handler = nullptr;

namespace {

// A copy with the language's allocator; null stays null. A failed
// allocation gives null, silently: readers of `message` show
// "Out of memory" in its place.
char* CopyText(const char* text) {
  if (text == nullptr) return nullptr;
  const size_t size = strlen(text) + 1;
  char* copy = new (std::nothrow) char[size];
  if (copy != nullptr) memcpy(copy, text, size);
  return copy;
}

void FreeText(char*& text) {
  delete[] text;
  text = nullptr;
}

const char* OrEmpty(const char* text) { return text != nullptr ? text : ""; }

}  // namespace

const char* VException::MessageOrOutOfMemory() const {
  return message != nullptr ? message : "Out of memory";
}

void VException::InitException(const char* file, Vlong line, const char* proc,
                               unsigned int err, const char* message,
                               const VTuple& user_data) {
  this->line = line;
  this->file = CopyText(OrEmpty(file));
  this->proc = CopyText(OrEmpty(proc));
  this->err = err;
  this->message = CopyText(OrEmpty(message));
  this->user_data = new (std::nothrow) VTuple(user_data);
}

VException::VException(const char* file, Vlong line, const char* proc,
                       unsigned int err, const char* message) {
  InitException(file, line, proc, err, message, VTuple());
}

VException::VException(const char* file, Vlong line, const char* proc,
                       unsigned int err) {
  InitException(file, line, proc, err, "", VTuple());
}

VException::VException(const char* file, Vlong line, const char* proc,
                       const char* message) {
  InitException(file, line, proc, 0, message, VTuple());
}

VException::VException(const VException& other)
    : line(other.line),
      file(CopyText(other.file)),
      proc(CopyText(other.proc)),
      err(other.err),
      message(CopyText(other.message)),
      user_data(other.user_data != nullptr
                    ? new (std::nothrow) VTuple(*other.user_data)
                    : new (std::nothrow) VTuple()) {}

VException& VException::operator=(const VException& other) {
  if (this != &other) {
    line = other.line;
    err = other.err;
    FreeText(file);
    FreeText(proc);
    FreeText(message);
    file = CopyText(other.file);
    proc = CopyText(other.proc);
    message = CopyText(other.message);
  }
  return *this;
}

VException::~VException() {
  FreeText(file);
  FreeText(proc);
  FreeText(message);
  delete user_data;
  user_data = nullptr;
}

VHandlerProc VException::InstallVHandler(VHandlerProc proc) {
  const VHandlerProc old = handler;
  handler = proc;
  return old;
}

void VException::FormatReport(char* buffer, unsigned long size) const {
  // The error number prints as a 32-bit signed long, so that the all-ones
  // number of an unparsable tuple form reads -1.
  snprintf(buffer, size,
           "VEXA exception\nfile      = %s\nprocedure = %s\nline      = %" PRId64
           "\nerror#    = %ld\nmessage   = %s\n",
           OrEmpty(file), OrEmpty(proc), line,
           static_cast<long>(static_cast<int32_t>(err)), MessageOrOutOfMemory());
}

void VException::PrintException() const {
  char report[1024];
  FormatReport(report, sizeof report);
  IOWIN32PrintErrorMessage(report);
}

void VException::React() const {
  if (handler != nullptr) {
    handler(*this);
    return;
  }
  PrintException();
  exit(1);
}

}  // namespace Vexa
