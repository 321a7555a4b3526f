#include "ops/socket/socket_tool.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>

namespace vexa {
namespace {

constexpr size_t kTagSize = 4;
// The largest UDP payload.
constexpr size_t kMaxDatagram = 65507;
// Frames received over TCP are bounded so that a hostile length cannot
// claim all memory.
constexpr uint64_t kMaxFrame = uint64_t{1} << 34;
// The step in which a frame's buffer grows while it is received.
constexpr size_t kReceiveChunk = size_t{1} << 20;

}  // namespace

SocketTool::~SocketTool() { ::close(fd_); }

void SocketTool::Close() {
  std::lock_guard<std::mutex> lock(state_);
  if (!closed_) ::shutdown(fd_, SHUT_RDWR);
  closed_ = true;
}

bool SocketTool::closed() const {
  std::lock_guard<std::mutex> lock(state_);
  return closed_;
}

double SocketTool::timeout() const {
  std::lock_guard<std::mutex> lock(state_);
  return timeout_;
}

void SocketTool::set_timeout(double seconds) {
  std::lock_guard<std::mutex> lock(state_);
  timeout_ = seconds;
}

Vresult SocketTool::WaitReadable(double seconds) const {
  pollfd p{fd_, POLLIN, 0};
  const int ms = std::isinf(seconds) ? -1 : static_cast<int>(std::min(seconds * 1000.0, 2.0e9));
  int n;
  do {
    n = ::poll(&p, 1, ms);
  } while (n < 0 && errno == EINTR);
  if (n < 0) return VERR_SOCKET;
  return n == 0 ? VERR_TIMEOUT : VRESULT_OK;
}

Vresult SocketTool::SendAll(const void* data, size_t n) {
  const auto* p = static_cast<const char*>(data);
  while (n > 0) {
    const ssize_t sent = ::send(fd_, p, n, MSG_NOSIGNAL);
    if (sent < 0) {
      if (errno == EINTR) continue;
      return errno == EPIPE || errno == ECONNRESET ? VERR_SOCKET_CLOSED : VERR_SOCKET;
    }
    p += sent;
    n -= static_cast<size_t>(sent);
  }
  return VRESULT_OK;
}

Vresult SocketTool::ReceiveExactly(void* data, size_t n) {
  auto* p = static_cast<char*>(data);
  while (n > 0) {
    const Vresult rc = WaitReadable(timeout());
    if (rc != VRESULT_OK) return rc;
    const ssize_t got = ::recv(fd_, p, n, 0);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return errno == ECONNRESET ? VERR_SOCKET_CLOSED : VERR_SOCKET;
    if (got == 0) return VERR_SOCKET_CLOSED;
    p += got;
    n -= static_cast<size_t>(got);
  }
  return VRESULT_OK;
}

Vresult SocketTool::ReceiveDatagram(ItemBytes* data, std::string* address, int* port) {
  const Vresult rc = WaitReadable(timeout());
  if (rc != VRESULT_OK) return rc;
  data->resize(kMaxDatagram);
  sockaddr_in from{};
  socklen_t len = sizeof from;
  const ssize_t got = ::recvfrom(fd_, data->data(), data->size(), 0,
                                 reinterpret_cast<sockaddr*>(&from), &len);
  if (got < 0) return VERR_SOCKET;
  data->resize(static_cast<size_t>(got));
  char text[INET_ADDRSTRLEN] = "";
  ::inet_ntop(AF_INET, &from.sin_addr, text, sizeof text);
  *address = text;
  *port = ntohs(from.sin_port);
  return VRESULT_OK;
}

Vresult SocketTool::SendFrame(const char tag[4], const ItemBytes& item) {
  return SendFrame(tag, item.data(), item.size());
}

Vresult SocketTool::SendFrame(const char tag[4], const unsigned char* item, size_t size) {
  ItemBytes frame(tag, tag + kTagSize);
  frame.insert(frame.end(), item, item + size);
  if (protocol_ == Protocol::kUdp && frame.size() > kMaxDatagram) return VERR_TOO_LARGE;
  std::lock_guard<std::mutex> lock(send_);
  return SendAll(frame.data(), frame.size());
}

Vresult SocketTool::ReceiveFrame(const char tag[4], ItemBytes* item) {
  std::lock_guard<std::mutex> lock(receive_);
  ItemBytes frame;
  if (protocol_ == Protocol::kUdp) {
    std::string address;
    int port = 0;
    const Vresult rc = ReceiveDatagram(&frame, &address, &port);
    if (rc != VRESULT_OK) return rc;
    if (frame.size() < kTagSize + kItemHeaderSize) return VERR_FILE_TRUNCATED;
  } else {
    frame.resize(kTagSize + kItemHeaderSize);
    Vresult rc = ReceiveExactly(frame.data(), frame.size());
    if (rc != VRESULT_OK) return rc;
    uint64_t total = 0;
    rc = ItemSizeFromHeader(frame.data() + kTagSize, kMaxFrame, &total);
    if (rc != VRESULT_OK) return rc;
    // The buffer grows with the bytes that really arrive, so a header that
    // claims more than the peer sends costs no more memory than was sent.
    const size_t want = kTagSize + static_cast<size_t>(total);
    for (size_t have = frame.size(); have < want;) {
      const size_t chunk = std::min(want - have, kReceiveChunk);
      frame.resize(have + chunk);
      rc = ReceiveExactly(frame.data() + have, chunk);
      if (rc != VRESULT_OK) return rc;
      have += chunk;
    }
  }
  if (std::memcmp(frame.data(), tag, kTagSize) != 0) return VERR_DATA_KIND;
  item->assign(frame.begin() + kTagSize, frame.end());
  return VRESULT_OK;
}

Vresult SocketTool::PeekTag(std::string* tag) {
  std::lock_guard<std::mutex> lock(receive_);
  const Vresult rc = WaitReadable(timeout());
  if (rc != VRESULT_OK) return rc;
  char buf[kTagSize];
  const ssize_t got = ::recv(fd_, buf, kTagSize, MSG_PEEK | (protocol_ == Protocol::kTcp ? MSG_WAITALL : 0));
  if (got == 0) return VERR_SOCKET_CLOSED;
  if (got < static_cast<ssize_t>(kTagSize)) return VERR_SOCKET;
  tag->assign(buf, kTagSize);
  return VRESULT_OK;
}

Vresult InpSocket(const OpContext& ctx, int par, std::shared_ptr<SocketTool>* s) {
  const Vresult rc = InpTool(ctx, par, s);
  if (rc != VRESULT_OK) return rc;
  return (*s)->closed() ? VERR_HANDLE_CLOSED : VRESULT_OK;
}

Vresult InpDataSocket(const OpContext& ctx, int par, std::shared_ptr<SocketTool>* s) {
  const Vresult rc = InpSocket(ctx, par, s);
  if (rc != VRESULT_OK) return rc;
  return (*s)->accepting() && (*s)->protocol() == SocketTool::Protocol::kTcp ? VERR_SOCKET : rc;
}

}  // namespace vexa
