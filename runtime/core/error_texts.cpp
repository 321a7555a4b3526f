// Texts of the runtime's result codes. The interface shows these texts to
// the application in failure reports, so each one names the problem; the
// text of the failure a thread's last call ended with also says what it
// failed on (error_detail.h).
#include <cstdio>
#include <cstring>
#include <string>

#include "error_detail.h"
#include "vexa/errors.h"
#include "vexa/runtime.h"

namespace {

// The interface's buffers hold 1,024 bytes.
constexpr size_t kTextBuffer = 1024;

struct FixedText {
  Vresult code;
  const char* text;
};

const FixedText kFixedTexts[] = {
    {0, "Result: false"},
    {1, "Result: true"},
    {VRESULT_OK, "No error"},
    {VERR_OUT_OF_MEMORY, "Not enough memory"},
    {VERR_MEM_FREE, "Memory to be freed was not allocated by the runtime"},
    {VERR_TOO_LARGE, "Requested memory size is beyond the limits"},
    {VERR_KEY_INVALID, "Key names no object of the database"},
    {VERR_KEY_DELETED, "Key names an object that was deleted"},
    {VERR_NOT_KEY_TUPLE, "Object is not a key tuple"},
    {VERR_NOT_REGION, "Object holds no region"},
    {VERR_NOT_IMAGE, "Object holds no image"},
    {VERR_NO_SYSTEM_OBJECT, "Unknown system object"},
    {VERR_OBJ_INDEX, "Object index out of range"},
    {VERR_EMPTY_OBJECT, "Operator needs a non-empty object"},
    {VERR_FILE_NOT_FOUND, "File not found"},
    {VERR_FILE_READ, "Error while reading a file"},
    {VERR_FILE_WRITE, "Error while writing a file"},
    {VERR_FILE_FORMAT, "Wrong file format"},
    {VERR_FILE_TRUNCATED, "File is truncated: it ends before all of its data"},
    {VERR_FILE_CORRUPT,
     "File is corrupt: its data contradict its header or its checksum"},
    {VERR_FILE_UNSUPPORTED,
     "File uses a variant of its format that cannot be read"},
    {VERR_PIXEL_TYPE, "Pixel type not supported by this operator"},
    {VERR_IMAGE_SIZE, "Image sizes do not match or are invalid"},
    {VERR_CHANNEL, "Invalid channel index or number of channels"},
    {VERR_COORD_RANGE, "Coordinate outside the image"},
    {VRESULT_OUT_COUNT, "Wrong number of values of a single-valued output parameter"},
    {VRESULT_OUT_TYPE, "Wrong type of a single-valued output parameter"},
    {VRESULT_OUT_OBJ_COUNT, "Wrong number of objects for an output object parameter"},
    {VRESULT_OUT_NULL, "Null pointer for an output object parameter"},
    {VERR_NOT_AVAILABLE, "Operator not available in this runtime"},
    {VERR_OP_INDEX, "No operator with this index"},
    {VERR_OP_NAME, "No operator with this name"},
    {VERR_PROC_INVALID, "Not a valid operator instance"},
    {VERR_PAR_INDEX, "Parameter number out of range for this operator"},
    {VERR_INTERNAL, "Internal error of the runtime"},
    {VERR_WINDOW_STACK_EMPTY, "Window stack is empty"},
    {VERR_WINDOW_INVALID, "Not an open window"},
    {VERR_NO_DISPLAY, "No display available for interactive input"},
    {VERR_WINDOW_MODE, "Display mode not supported by this window"},
    {VERR_DISPLAY_OPEN, "Cannot open a window on the display"},
    {VERR_DRAW_CANCELLED, "Window closed during interactive drawing"},
    {VERR_HANDLE_INVALID, "Invalid handle: the value names no tool"},
    {VERR_HANDLE_TYPE, "Handle of the wrong type for this operator"},
    {VERR_HANDLE_CLOSED, "Handle already closed"},
    {VERR_TIMEOUT, "Timeout elapsed before the operation completed"},
    {VERR_NOT_OWNER, "Mutex is not locked by the calling thread"},
    {VERR_WAIT_ABORTED, "Waiting was aborted"},
    {VERR_QUEUE_FULL, "Message queue holds its maximum number of messages"},
    {VERR_MSG_KEY, "Message holds no data under this key"},
    {VERR_DEADLOCK, "Mutex is already locked by the calling thread"},
    {VERR_SOCKET, "Socket operation failed"},
    {VERR_SOCKET_CLOSED, "Connection closed by the other side"},
    {VERR_DATA_KIND, "Serialized data of another kind than expected"},
    {VERR_MATRIX_SIZE, "Matrix dimensions do not fit the operation"},
    {VERR_MATRIX_SINGULAR, "Matrix is singular"},
    {VERR_MATRIX_FORM, "Matrix does not have the form required by its type"},
    {VERR_GRAB_SOURCE, "Image acquisition source holds no readable image"},
    {VERR_FILE_MODE, "File is not open for this kind of access"},
    {VERR_MODEL_POINTS, "Model has too few edge points: contrast too high or model region too small"},
    {VERR_CAM_MODEL, "Camera parameters: unknown camera model (the first value names it)"},
    {VERR_CAM_PAR_NUM, "Camera parameters: number of values does not fit the camera model"},
    {VERR_CAM_PAR_VALUE, "Camera parameters: a value is not a finite number"},
    {VERR_CAM_FOCUS, "Camera parameters: focal length must be positive"},
    {VERR_CAM_CELL_SIZE, "Camera parameters: cell sizes must be positive"},
    {VERR_CAM_IMAGE_SIZE, "Camera parameters: image width and height must be positive integers"},
    {VERR_CAM_DISTORTION,
     "Point outside the range in which the camera's distortion model can be inverted"},
    {VERR_CAM_BEHIND,
     "Point or intersection lies on or behind the camera: no valid projection"},
    {VERR_SYMBOLOGY, "Code type is not supported by the decoder"},
    {VERR_CODE_DESCR, "Bar code description is invalid (make it with gen_1d_bar_code_descr or gen_2d_bar_code_descr)"},
    {VERR_CODE_RESULT_NA, "Result is not available for this code type"},
    {VERR_CODE_UNREADABLE, "Code elements or modules do not form a readable code"},
};

// Codes that carry a parameter number: first code, number of the first
// parameter, how many there are, and the text with the number.
struct NumberedText {
  Vresult first;
  int first_number;
  int count;
  const char* format;
};

const NumberedText kNumberedTexts[] = {
    {VERR_CTRL_TYPE(0), 1, VMAX_INP_CTRL, "Wrong type of control parameter %d"},
    {VERR_CTRL_VALUE(0), 1, VMAX_INP_CTRL, "Wrong value of control parameter %d"},
    {VERR_CTRL_NUM(0), 1, VMAX_INP_CTRL,
     "Wrong number of values of control parameter %d"},
    {VERR_OBJ_NUM(1), 1, VMAX_INP_OBJ,
     "Wrong number of objects at input object parameter %d"},
    {VERR_OBJ_CLASS(1), 1, VMAX_INP_OBJ,
     "Wrong object class at input object parameter %d"},
};

// The text of `code` alone.
void CodeText(Vresult code, char* buffer) {
  for (const FixedText& t : kFixedTexts) {
    if (t.code == code) {
      std::snprintf(buffer, kTextBuffer, "%s", t.text);
      return;
    }
  }
  for (const NumberedText& t : kNumberedTexts) {
    if (code >= t.first && code < t.first + static_cast<Vresult>(t.count)) {
      std::snprintf(buffer, kTextBuffer, t.format,
                    t.first_number + static_cast<int>(code - t.first));
      return;
    }
  }
  std::snprintf(buffer, kTextBuffer, "Unknown error code %u", code);
}

}  // namespace

extern "C" {

void VErrorMessage(Vresult code, char* buffer) {
  if (!buffer) return;
  CodeText(code, buffer);
  // What the thread's last call, failing with this code, named.
  const std::string& detail = vexa::DetailOfLastFailure(code);
  if (detail.empty()) return;
  const size_t used = std::strlen(buffer);
  std::snprintf(buffer + used, kTextBuffer - used, ": %s", detail.c_str());
}

void IOWIN32PrintErrorMessage(const char* text) {
  std::fprintf(stderr, "%s\n", text ? text : "");
}

}  // extern "C"
