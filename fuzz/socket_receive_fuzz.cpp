// The receive side of the sockets over arbitrary bytes from the peer: a
// raw TCP connection sends the input and closes, and the receiving socket
// reads it as the kind of frame the first byte selects. Bad data must give
// a code and leave no object or item behind, and nothing may wait longer
// than the socket's short timeout.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "fuzz_support.h"

using namespace Vexa;

namespace {

// The listening socket, opened once on a free port with a short timeout.
Vlong Listener(int* port) {
  static Vlong listener = -1;
  static int listen_port = 0;
  if (listener < 0) {
    if (open_socket_accept(VTuple(Vlong{0}), VTuple("timeout"), VTuple(1.0), &listener) !=
        VRESULT_OK)
      std::abort();
    VTuple port_value;
    if (get_socket_param(listener, "port", &port_value) != VRESULT_OK) std::abort();
    listen_port = static_cast<int>(port_value[0].L());
  }
  *port = listen_port;
  return listener;
}

// Connects a plain TCP socket to the listener, sends `data` and closes the
// sending side; -1 on failure.
int SendRaw(int port, const uint8_t* data, size_t size) {
  const int fd = socket(AF_INET, SOCK_STREAM, 0);
  if (fd < 0) return -1;
  sockaddr_in addr{};
  addr.sin_family = AF_INET;
  addr.sin_port = htons(static_cast<uint16_t>(port));
  addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (connect(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr) != 0) {
    close(fd);
    return -1;
  }
  size_t sent = 0;
  while (sent < size) {
    const ssize_t n = send(fd, data + sent, size - sent, MSG_NOSIGNAL);
    if (n <= 0) break;
    sent += static_cast<size_t>(n);
  }
  shutdown(fd, SHUT_WR);
  return fd;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  vexa_fuzz::ThrowOnFailure();
  // The peer's bytes must fit the kernel's buffers: nothing reads them
  // until the connection is accepted.
  if (size == 0 || size > 32768) return 0;
  int port = 0;
  const Vlong listener = Listener(&port);
  const int fd = SendRaw(port, data + 1, size - 1);
  // Only the system's own sockets were used so far: a failed connection
  // (no free port, say) tests nothing of ours.
  if (fd < 0) return 0;
  Vlong socket = -1;
  const bool accepted = socket_accept_connect(listener, "true", &socket) == VRESULT_OK;
  if (accepted) {
    set_socket_param(VTuple(socket), VTuple("timeout"), VTuple(0.2));
    switch (data[0] % 6) {
      case 0: {
        VTuple tuple;
        vexa_fuzz::CodeOf([&] { return receive_tuple(socket, &tuple); });
        break;
      }
      case 1: {
        Vobject image;
        vexa_fuzz::CodeOf([&] { return receive_image(&image, socket); });
        break;
      }
      case 2: {
        Vobject region;
        vexa_fuzz::CodeOf([&] { return receive_region(&region, socket); });
        break;
      }
      case 3: {
        Vlong item = -1;
        if (vexa_fuzz::CodeOf([&] { return receive_serialized_item(socket, &item); }) ==
            VRESULT_OK)
          clear_serialized_item(item);
        break;
      }
      case 4: {
        Vobject xld;
        vexa_fuzz::CodeOf([&] { return receive_xld(&xld, socket); });
        break;
      }
      default: {
        VTuple type;
        vexa_fuzz::CodeOf([&] { return get_next_socket_data_type(socket, &type); });
        break;
      }
    }
  }
  // The peer resets its end before the runtime closes its own, so that
  // neither end lingers in TIME_WAIT: at thousands of connections a second
  // those would use up the loopback ports.
  const linger reset{1, 0};
  setsockopt(fd, SOL_SOCKET, SO_LINGER, &reset, sizeof reset);
  close(fd);
  if (accepted) close_socket(socket);
  return 0;
}
