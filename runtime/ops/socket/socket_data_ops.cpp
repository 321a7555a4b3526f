// send_data and receive_data: raw bytes in a layout told by a format, for
// talking to devices that know nothing of the runtime's frames.
//
// A format is a sequence of letters, each optionally followed by a count
// (default 1): 'c'/'C' signed/unsigned 8-bit integers, 'n' 16-bit, 'N'
// 32-bit and 'q' 64-bit signed integers, 'f' 32-bit and 'd' 64-bit IEEE
// reals, all in network byte order, one value each per count; 'a' a text
// of exactly count bytes (padded with zero bytes when sent, trailing zero
// bytes dropped when received); 'z' a text ended by a zero byte (no
// count). White space between items is ignored. Over TCP the bytes go as
// they are; over UDP one call is one datagram. send_data's receiver is
// empty (the connected peer) or host and port for UDP; receive_data gives
// the sender as address and port.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <cctype>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "ops/serialize/tuple_values.h"
#include "ops/socket/socket_tool.h"
#include "registry.h"

namespace vexa {
namespace {

struct FormatItem {
  char letter;
  size_t count;
};

constexpr size_t kMaxCount = 1 << 16;

Vresult ParseFormat(const std::string& format, int par, std::vector<FormatItem>* items) {
  for (size_t i = 0; i < format.size();) {
    const char letter = format[i++];
    if (std::isspace(static_cast<unsigned char>(letter))) continue;
    if (!std::strchr("cCnNqfdaz", letter)) return VERR_CTRL_VALUE(par);
    size_t count = 1;
    if (i < format.size() && std::isdigit(static_cast<unsigned char>(format[i]))) {
      if (letter == 'z') return VERR_CTRL_VALUE(par);
      count = 0;
      while (i < format.size() && std::isdigit(static_cast<unsigned char>(format[i]))) {
        count = count * 10 + static_cast<size_t>(format[i++] - '0');
        if (count > kMaxCount) return VERR_CTRL_VALUE(par);
      }
    }
    items->push_back({letter, count});
  }
  return items->empty() ? VERR_CTRL_VALUE(par) : VRESULT_OK;
}

size_t NumberSize(char letter) {
  switch (letter) {
    case 'c': case 'C': return 1;
    case 'n': return 2;
    case 'N': case 'f': return 4;
    default: return 8;  // 'q', 'd'
  }
}

void PutBigEndian(uint64_t bits, size_t size, ItemBytes* out) {
  for (size_t i = size; i-- > 0;) out->push_back(static_cast<unsigned char>(bits >> (8 * i)));
}

uint64_t GetBigEndian(const unsigned char* p, size_t size) {
  uint64_t bits = 0;
  for (size_t i = 0; i < size; ++i) bits = (bits << 8) | p[i];
  return bits;
}

Vresult Encode(const std::vector<FormatItem>& items, const TupleValues& data, ItemBytes* out) {
  size_t next = 0;
  for (const FormatItem& item : items) {
    const bool text = item.letter == 'a' || item.letter == 'z';
    const size_t values = text ? 1 : item.count;
    for (size_t k = 0; k < values; ++k, ++next) {
      if (next >= data.size()) return VERR_CTRL_NUM(2);
      const TupleValue& v = data[next];
      if (text) {
        if (v.type != VPAR_STRING) return VERR_CTRL_TYPE(2);
        if (item.letter == 'z') {
          out->insert(out->end(), v.s.begin(), v.s.end());
          out->push_back(0);
        } else {
          if (v.s.size() > item.count) return VERR_CTRL_VALUE(2);
          out->insert(out->end(), v.s.begin(), v.s.end());
          out->insert(out->end(), item.count - v.s.size(), 0);
        }
        continue;
      }
      if (v.type == VPAR_STRING) return VERR_CTRL_TYPE(2);
      const double d = v.type == VPAR_LONG ? static_cast<double>(v.l) : v.d;
      uint64_t bits = 0;
      if (item.letter == 'f') {
        const float f = static_cast<float>(d);
        uint32_t b32;
        std::memcpy(&b32, &f, 4);
        bits = b32;
      } else if (item.letter == 'd') {
        std::memcpy(&bits, &d, 8);
      } else {
        bits = static_cast<uint64_t>(v.type == VPAR_LONG ? v.l : static_cast<Vlong>(d));
      }
      PutBigEndian(bits, NumberSize(item.letter), out);
    }
  }
  return next == data.size() ? VRESULT_OK : VERR_CTRL_NUM(2);
}

// Reads `n` bytes: from the datagram over UDP, from the stream over TCP.
class ByteSource {
 public:
  ByteSource(SocketTool& s, const ItemBytes* datagram) : s_(s), datagram_(datagram) {}
  Vresult Take(size_t n, const unsigned char** p) {
    if (datagram_) {
      if (datagram_->size() - pos_ < n) return VERR_SOCKET_CLOSED;
      *p = datagram_->data() + pos_;
      pos_ += n;
      return VRESULT_OK;
    }
    buf_.resize(n);
    *p = buf_.data();
    return n ? s_.ReceiveExactly(buf_.data(), n) : VRESULT_OK;
  }

 private:
  SocketTool& s_;
  const ItemBytes* datagram_;
  size_t pos_ = 0;
  ItemBytes buf_;
};

Vresult Decode(const std::vector<FormatItem>& items, ByteSource* in, TupleValues* data) {
  const unsigned char* p = nullptr;
  for (const FormatItem& item : items) {
    Vresult rc;
    if (item.letter == 'z') {
      std::string s;
      while ((rc = in->Take(1, &p)) == VRESULT_OK && *p != 0) s.push_back(static_cast<char>(*p));
      if (rc != VRESULT_OK) return rc;
      data->push_back(TupleValue::String(std::move(s)));
      continue;
    }
    if (item.letter == 'a') {
      if ((rc = in->Take(item.count, &p)) != VRESULT_OK) return rc;
      std::string s(reinterpret_cast<const char*>(p), item.count);
      while (!s.empty() && s.back() == '\0') s.pop_back();
      data->push_back(TupleValue::String(std::move(s)));
      continue;
    }
    const size_t size = NumberSize(item.letter);
    for (size_t k = 0; k < item.count; ++k) {
      if ((rc = in->Take(size, &p)) != VRESULT_OK) return rc;
      const uint64_t bits = GetBigEndian(p, size);
      if (item.letter == 'f') {
        const uint32_t b32 = static_cast<uint32_t>(bits);
        float f;
        std::memcpy(&f, &b32, 4);
        data->push_back(TupleValue::Double(f));
      } else if (item.letter == 'd') {
        double d;
        std::memcpy(&d, &bits, 8);
        data->push_back(TupleValue::Double(d));
      } else if (item.letter == 'C') {
        data->push_back(TupleValue::Long(static_cast<Vlong>(bits)));
      } else {
        // Sign-extend from the item's width.
        const int shift = 64 - static_cast<int>(size * 8);
        data->push_back(TupleValue::Long(static_cast<Vlong>(bits << shift) >> shift));
      }
    }
  }
  return VRESULT_OK;
}

}  // namespace

VEXA_OPERATOR(send_data) {
  std::shared_ptr<SocketTool> s;
  const char* format = nullptr;
  TupleValues data, receiver;
  std::vector<FormatItem> items;
  Vresult rc = InpDataSocket(ctx, 0, &s);
  if (rc == VRESULT_OK) rc = ctx.GetString(1, &format);
  if (rc == VRESULT_OK) rc = ParseFormat(format, 1, &items);
  if (rc == VRESULT_OK) rc = ReadInpValues(ctx, 2, &data);
  if (rc == VRESULT_OK) rc = ReadInpValues(ctx, 3, &receiver);
  ItemBytes bytes;
  if (rc == VRESULT_OK) rc = Encode(items, data, &bytes);
  if (rc != VRESULT_OK) return rc;
  std::lock_guard<std::mutex> lock(s->send_lock());
  if (receiver.empty()) return s->SendAll(bytes.data(), bytes.size());
  if (s->protocol() != SocketTool::Protocol::kUdp || receiver.size() != 2 ||
      receiver[0].type != VPAR_STRING || receiver[1].type != VPAR_LONG)
    return VERR_CTRL_VALUE(3);
  sockaddr_in to{};
  to.sin_family = AF_INET;
  to.sin_port = htons(static_cast<uint16_t>(receiver[1].l));
  if (receiver[1].l < 0 || receiver[1].l > 65535 ||
      ::inet_pton(AF_INET, receiver[0].s.c_str(), &to.sin_addr) != 1)
    return VERR_CTRL_VALUE(3);
  const ssize_t sent = ::sendto(s->fd(), bytes.data(), bytes.size(), 0,
                                reinterpret_cast<sockaddr*>(&to), sizeof to);
  return sent == static_cast<ssize_t>(bytes.size()) ? VRESULT_OK : VERR_SOCKET;
}

VEXA_OPERATOR(receive_data) {
  std::shared_ptr<SocketTool> s;
  const char* format = nullptr;
  std::vector<FormatItem> items;
  Vresult rc = InpDataSocket(ctx, 0, &s);
  if (rc == VRESULT_OK) rc = ctx.GetString(1, &format);
  if (rc == VRESULT_OK) rc = ParseFormat(format, 1, &items);
  if (rc != VRESULT_OK) return rc;
  std::lock_guard<std::mutex> lock(s->receive_lock());
  ItemBytes datagram;
  std::string address;
  int port = -1;
  if (s->protocol() == SocketTool::Protocol::kUdp) {
    rc = s->ReceiveDatagram(&datagram, &address, &port);
  } else {
    sockaddr_in peer{};
    socklen_t len = sizeof peer;
    char text[INET_ADDRSTRLEN] = "";
    if (::getpeername(s->fd(), reinterpret_cast<sockaddr*>(&peer), &len) == 0) {
      ::inet_ntop(AF_INET, &peer.sin_addr, text, sizeof text);
      port = ntohs(peer.sin_port);
    }
    address = text;
  }
  ByteSource source(*s, s->protocol() == SocketTool::Protocol::kUdp ? &datagram : nullptr);
  TupleValues data;
  if (rc == VRESULT_OK) rc = Decode(items, &source, &data);
  if (rc == VRESULT_OK) rc = WriteOutpValues(ctx, 0, data);
  return rc == VRESULT_OK
             ? WriteOutpValues(ctx, 1, {TupleValue::String(address), TupleValue::Long(port)})
             : rc;
}

}  // namespace vexa
