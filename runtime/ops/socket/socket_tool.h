// The tool behind a socket handle: a TCP or UDP socket of the system, its
// timeout, and locks that keep one sender and one receiver at a time, so
// that frames of two threads never interleave.
//
// Objects, tuples and items travel as frames: a 4-byte tag naming what
// follows ("TUPL", "IMAG", "REGN", "SITM") and a complete serialised item,
// whose header gives the length. Over UDP each frame is one datagram.
#pragma once

#include <mutex>
#include <string>

#include "handle_registry.h"
#include "ops/serialize/item_format.h"

namespace vexa {

class SocketTool : public Tool {
 public:
  static constexpr ToolKind kKind = ToolKind::kSocket;
  enum class Protocol { kTcp, kUdp };

  SocketTool(int fd, Protocol protocol, bool accepting, double timeout)
      : fd_(fd), protocol_(protocol), accepting_(accepting), timeout_(timeout) {}
  // The descriptor is closed only here, when no operator uses the tool any
  // more, so a descriptor number is never reused under a running call.
  ~SocketTool() override;
  // Shuts the connection down, which wakes a thread blocked receiving.
  void Close() override;

  int fd() const { return fd_; }
  bool closed() const;
  Protocol protocol() const { return protocol_; }
  bool accepting() const { return accepting_; }
  double timeout() const;
  void set_timeout(double seconds);

  // Waits (up to the timeout) until the socket can be read; VERR_TIMEOUT.
  Vresult WaitReadable(double seconds) const;
  // All `n` bytes, or VERR_SOCKET / VERR_SOCKET_CLOSED.
  Vresult SendAll(const void* data, size_t n);
  // Exactly `n` bytes over TCP (each waited for with the timeout).
  Vresult ReceiveExactly(void* data, size_t n);
  // One datagram of at most `max` bytes, with the sender.
  Vresult ReceiveDatagram(ItemBytes* data, std::string* sender_address, int* sender_port);

  // Frames: tag and item.
  Vresult SendFrame(const char tag[4], const ItemBytes& item);
  Vresult SendFrame(const char tag[4], const unsigned char* item, size_t size);
  // The next frame, which must carry `tag` (VERR_DATA_KIND otherwise).
  Vresult ReceiveFrame(const char tag[4], ItemBytes* item);
  // The tag of the next frame without taking it.
  Vresult PeekTag(std::string* tag);

  std::mutex& send_lock() { return send_; }
  std::mutex& receive_lock() { return receive_; }

 private:
  const int fd_;
  const Protocol protocol_;
  const bool accepting_;
  mutable std::mutex state_;
  double timeout_;
  bool closed_ = false;
  std::mutex send_, receive_;
};

// The socket whose handle is input control `par`; VERR_HANDLE_CLOSED once
// it was closed by another thread.
Vresult InpSocket(const OpContext& ctx, int par, std::shared_ptr<SocketTool>* s);
// The same, for transfers: a connected TCP socket or a UDP socket, never a
// listening one (VERR_SOCKET).
Vresult InpDataSocket(const OpContext& ctx, int par, std::shared_ptr<SocketTool>* s);

}  // namespace vexa
