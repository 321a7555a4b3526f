// The short connecting constructor of VSocket.
#include <vexaobj/VSocket.h>
#include <vexaobj/VTuple.h>

namespace Vexa {

VSocket::VSocket(const char* host_name, Vlong port) {
  OpenSocketConnect(VTuple(host_name), VTuple(port), VTuple(), VTuple());
}

}  // namespace Vexa
