// Operators of sockets: opening, accepting, parameters, and tuples,
// objects and items sent as frames (see socket_tool.h).
//
// Generic parameters of the opening operators: "protocol" ("TCP", "TCP4",
// "UDP", "UDP4"; default TCP4), "timeout" (seconds or "infinite", the
// default), and for open_socket_accept "address" (the local address to
// bind, default all). Port 0 asks the system for a free port, which
// get_socket_param "port" tells. get_socket_param also answers "timeout",
// "protocol", "address", "remote_address" and "remote_port". Over UDP,
// open_socket_accept gives a socket that receives at once, and
// open_socket_connect one that sends to the given host and port.
#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "ops/serialize/payload_codec.h"
#include "ops/serialize/serialized_item.h"
#include "ops/socket/socket_tool.h"
#include "registry.h"

namespace vexa {
namespace {

struct SocketOptions {
  SocketTool::Protocol protocol = SocketTool::Protocol::kTcp;
  double timeout = std::numeric_limits<double>::infinity();
  std::string address = "0.0.0.0";
};

Vresult InpOptions(const OpContext& ctx, int names_par, bool accepting, SocketOptions* o) {
  std::vector<GenParam> params;
  Vresult rc = ReadGenParams(ctx, names_par, names_par + 1, &params);
  for (size_t i = 0; rc == VRESULT_OK && i < params.size(); ++i) {
    const GenParam& p = params[i];
    const bool text = p.value.type == VPAR_STRING;
    if (p.name == "protocol") {
      if (text && (p.value.s == "TCP" || p.value.s == "TCP4")) {
        o->protocol = SocketTool::Protocol::kTcp;
      } else if (text && (p.value.s == "UDP" || p.value.s == "UDP4")) {
        o->protocol = SocketTool::Protocol::kUdp;
      } else {
        rc = VERR_CTRL_VALUE(names_par + 1);
      }
    } else if (p.name == "timeout") {
      rc = SecondsOrInfinite(p.value, names_par + 1, &o->timeout);
    } else if (p.name == "address" && accepting && text) {
      o->address = p.value.s;
    } else {
      rc = VERR_CTRL_VALUE(names_par);
    }
  }
  return rc;
}

Vresult InpPort(const OpContext& ctx, int par, Vlong* port) {
  const Vresult rc = ctx.GetLong(par, port);
  if (rc != VRESULT_OK) return rc;
  return *port >= 0 && *port <= 65535 ? VRESULT_OK : VERR_CTRL_VALUE(par);
}

// The IPv4 address of `host` (a name or dotted numbers).
Vresult Resolve(const std::string& host, int par, in_addr* address) {
  if (::inet_pton(AF_INET, host.c_str(), address) == 1) return VRESULT_OK;
  addrinfo hints{};
  hints.ai_family = AF_INET;
  addrinfo* found = nullptr;
  if (::getaddrinfo(host.c_str(), nullptr, &hints, &found) != 0 || !found) return VERR_CTRL_VALUE(par);
  *address = reinterpret_cast<sockaddr_in*>(found->ai_addr)->sin_addr;
  ::freeaddrinfo(found);
  return VRESULT_OK;
}

int SocketType(SocketTool::Protocol p) {
  return p == SocketTool::Protocol::kTcp ? SOCK_STREAM : SOCK_DGRAM;
}

// The local or remote end of `fd` as address and port.
void EndOf(int fd, bool remote, std::string* address, Vlong* port) {
  sockaddr_in a{};
  socklen_t len = sizeof a;
  const int rc = remote ? ::getpeername(fd, reinterpret_cast<sockaddr*>(&a), &len)
                        : ::getsockname(fd, reinterpret_cast<sockaddr*>(&a), &len);
  char text[INET_ADDRSTRLEN] = "";
  if (rc == 0) ::inet_ntop(AF_INET, &a.sin_addr, text, sizeof text);
  *address = text;
  *port = rc == 0 ? ntohs(a.sin_port) : -1;
}

// Registers a socket for `fd` at output `par`, or closes `fd` on failure.
Vresult OutpSocket(OpContext& ctx, int par, int fd, SocketTool::Protocol protocol, bool accepting,
                   double timeout) {
  return OutpNewTool(ctx, par, std::make_shared<SocketTool>(fd, protocol, accepting, timeout));
}

const char kTupleTag[4] = {'T', 'U', 'P', 'L'};
const char kImageTag[4] = {'I', 'M', 'A', 'G'};
const char kRegionTag[4] = {'R', 'E', 'G', 'N'};
const char kXldTag[4] = {'X', 'L', 'D', 'S'};
const char kItemTag[4] = {'S', 'I', 'T', 'M'};

Vresult SendObjects(OpContext& ctx, ItemKind kind, const char tag[4]) {
  std::shared_ptr<SocketTool> s;
  Vresult rc = InpDataSocket(ctx, 0, &s);
  ByteWriter w;
  if (rc == VRESULT_OK) rc = EncodeInpObjects(ctx, 1, kind, &w);
  return rc == VRESULT_OK ? s->SendFrame(tag, WrapItem(kind, w.bytes())) : rc;
}

Vresult ReceiveObjects(OpContext& ctx, ItemKind kind, const char tag[4]) {
  std::shared_ptr<SocketTool> s;
  ItemBytes item;
  Vresult rc = InpDataSocket(ctx, 0, &s);
  if (rc == VRESULT_OK) rc = s->ReceiveFrame(tag, &item);
  ByteReader payload(nullptr, 0);
  if (rc == VRESULT_OK) rc = OpenItem(item.data(), item.size(), kind, &payload);
  NewKeys objects;
  if (rc == VRESULT_OK) rc = DecodeObjects(&payload, kind, &objects);
  return rc == VRESULT_OK ? objects.HandOver(ctx, 1) : rc;
}

}  // namespace

VEXA_OPERATOR(open_socket_accept) {
  Vlong port = 0;
  SocketOptions o;
  Vresult rc = InpPort(ctx, 0, &port);
  if (rc == VRESULT_OK) rc = InpOptions(ctx, 1, true, &o);
  sockaddr_in a{};
  if (rc == VRESULT_OK) rc = Resolve(o.address, 2, &a.sin_addr);
  if (rc != VRESULT_OK) return rc;
  a.sin_family = AF_INET;
  a.sin_port = htons(static_cast<uint16_t>(port));
  const int fd = ::socket(AF_INET, SocketType(o.protocol), 0);
  if (fd < 0) return VERR_SOCKET;
  const int on = 1;
  ::setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  if (::bind(fd, reinterpret_cast<sockaddr*>(&a), sizeof a) != 0 ||
      (o.protocol == SocketTool::Protocol::kTcp && ::listen(fd, 16) != 0)) {
    ::close(fd);
    return VERR_SOCKET;
  }
  return OutpSocket(ctx, 0, fd, o.protocol, true, o.timeout);
}

VEXA_OPERATOR(open_socket_connect) {
  const char* host = nullptr;
  Vlong port = 0;
  SocketOptions o;
  Vresult rc = ctx.GetString(0, &host);
  if (rc == VRESULT_OK) rc = InpPort(ctx, 1, &port);
  if (rc == VRESULT_OK) rc = InpOptions(ctx, 2, false, &o);
  sockaddr_in a{};
  if (rc == VRESULT_OK) rc = Resolve(host, 0, &a.sin_addr);
  if (rc != VRESULT_OK) return rc;
  a.sin_family = AF_INET;
  a.sin_port = htons(static_cast<uint16_t>(port));
  const int fd = ::socket(AF_INET, SocketType(o.protocol), 0);
  if (fd < 0) return VERR_SOCKET;
  if (::connect(fd, reinterpret_cast<sockaddr*>(&a), sizeof a) != 0) {
    ::close(fd);
    return VERR_SOCKET;
  }
  return OutpSocket(ctx, 0, fd, o.protocol, false, o.timeout);
}

// wait "true" waits for a connection up to the socket's timeout; "false"
// takes one only if it is already there (VERR_TIMEOUT otherwise).
VEXA_OPERATOR(socket_accept_connect) {
  std::shared_ptr<SocketTool> s;
  bool wait = false;
  const char* w = nullptr;
  Vresult rc = InpSocket(ctx, 0, &s);
  if (rc == VRESULT_OK) rc = ctx.GetString(1, &w);
  if (rc != VRESULT_OK) return rc;
  if (std::strcmp(w, "true") == 0) {
    wait = true;
  } else if (std::strcmp(w, "false") != 0) {
    return VERR_CTRL_VALUE(1);
  }
  if (!s->accepting() || s->protocol() != SocketTool::Protocol::kTcp) return VERR_SOCKET;
  std::lock_guard<std::mutex> lock(s->receive_lock());
  rc = s->WaitReadable(wait ? s->timeout() : 0.0);
  if (rc != VRESULT_OK) return rc;
  const int fd = ::accept(s->fd(), nullptr, nullptr);
  if (fd < 0) return VERR_SOCKET;
  return OutpSocket(ctx, 0, fd, SocketTool::Protocol::kTcp, false, s->timeout());
}

VEXA_OPERATOR(close_socket) { return CloseInpTool(ctx, 0, ToolKind::kSocket); }

VEXA_OPERATOR(close_all_sockets) {
  handles::RemoveAll(ToolKind::kSocket);
  return VRESULT_OK;
}

VEXA_OPERATOR(get_socket_descriptor) {
  std::shared_ptr<SocketTool> s;
  const Vresult rc = InpSocket(ctx, 0, &s);
  return rc == VRESULT_OK ? ctx.SetOutpLong(0, s->fd()) : rc;
}

VEXA_OPERATOR(get_socket_timeout) {
  std::shared_ptr<SocketTool> s;
  const Vresult rc = InpSocket(ctx, 0, &s);
  if (rc != VRESULT_OK) return rc;
  return std::isinf(s->timeout()) ? ctx.SetOutpString(0, "infinite")
                                  : ctx.SetOutpDouble(0, s->timeout());
}

VEXA_OPERATOR(set_socket_timeout) {
  std::shared_ptr<SocketTool> s;
  TupleValues v;
  double seconds = 0.0;
  Vresult rc = InpSocket(ctx, 0, &s);
  if (rc == VRESULT_OK) rc = ReadInpValues(ctx, 1, &v);
  if (rc == VRESULT_OK && v.size() != 1) rc = VERR_CTRL_NUM(1);
  if (rc == VRESULT_OK) rc = SecondsOrInfinite(v[0], 1, &seconds);
  if (rc == VRESULT_OK) s->set_timeout(seconds);
  return rc;
}

VEXA_OPERATOR(set_socket_param) {
  std::shared_ptr<SocketTool> s;
  std::vector<GenParam> params;
  Vresult rc = InpSocket(ctx, 0, &s);
  if (rc == VRESULT_OK) rc = ReadGenParams(ctx, 1, 2, &params);
  double seconds = s ? s->timeout() : 0.0;
  for (size_t i = 0; rc == VRESULT_OK && i < params.size(); ++i) {
    if (params[i].name != "timeout") return VERR_CTRL_VALUE(1);
    rc = SecondsOrInfinite(params[i].value, 2, &seconds);
  }
  if (rc == VRESULT_OK) s->set_timeout(seconds);
  return rc;
}

VEXA_OPERATOR(get_socket_param) {
  std::shared_ptr<SocketTool> s;
  std::vector<const char*> names;
  Vresult rc = InpSocket(ctx, 0, &s);
  if (rc == VRESULT_OK) rc = ctx.GetStrings(1, names);
  if (rc != VRESULT_OK) return rc;
  TupleValues out;
  for (const std::string name : names) {
    std::string address;
    Vlong port = 0;
    if (name == "timeout") {
      out.push_back(std::isinf(s->timeout()) ? TupleValue::String("infinite")
                                             : TupleValue::Double(s->timeout()));
    } else if (name == "protocol") {
      out.push_back(TupleValue::String(s->protocol() == SocketTool::Protocol::kTcp ? "TCP4" : "UDP4"));
    } else if (name == "address" || name == "port") {
      EndOf(s->fd(), false, &address, &port);
      out.push_back(name == "port" ? TupleValue::Long(port) : TupleValue::String(address));
    } else if (name == "remote_address" || name == "remote_port") {
      EndOf(s->fd(), true, &address, &port);
      out.push_back(name == "remote_port" ? TupleValue::Long(port) : TupleValue::String(address));
    } else {
      return VERR_CTRL_VALUE(1);
    }
  }
  return WriteOutpValues(ctx, 0, out);
}

// "tuple", "image", "region", "xld" or "serialized_item" for the next
// frame; "unknown" for bytes that are no frame (from send_data).
VEXA_OPERATOR(get_next_socket_data_type) {
  std::shared_ptr<SocketTool> s;
  std::string tag;
  Vresult rc = InpDataSocket(ctx, 0, &s);
  if (rc == VRESULT_OK) rc = s->PeekTag(&tag);
  if (rc != VRESULT_OK) return rc;
  const char* type = tag == std::string(kTupleTag, 4)    ? "tuple"
                     : tag == std::string(kImageTag, 4)  ? "image"
                     : tag == std::string(kRegionTag, 4) ? "region"
                     : tag == std::string(kXldTag, 4)    ? "xld"
                     : tag == std::string(kItemTag, 4)   ? "serialized_item"
                                                         : "unknown";
  return ctx.SetOutpString(0, type);
}

VEXA_OPERATOR(send_tuple) {
  std::shared_ptr<SocketTool> s;
  TupleValues values;
  Vresult rc = InpDataSocket(ctx, 0, &s);
  if (rc == VRESULT_OK) rc = ReadInpValues(ctx, 1, &values);
  if (rc != VRESULT_OK) return rc;
  ByteWriter w;
  EncodeTuple(values, &w);
  return s->SendFrame(kTupleTag, WrapItem(ItemKind::kTuple, w.bytes()));
}

VEXA_OPERATOR(receive_tuple) {
  std::shared_ptr<SocketTool> s;
  ItemBytes item;
  Vresult rc = InpDataSocket(ctx, 0, &s);
  if (rc == VRESULT_OK) rc = s->ReceiveFrame(kTupleTag, &item);
  ByteReader payload(nullptr, 0);
  if (rc == VRESULT_OK) rc = OpenItem(item.data(), item.size(), ItemKind::kTuple, &payload);
  TupleValues values;
  if (rc == VRESULT_OK) rc = DecodeTuple(&payload, &values);
  return rc == VRESULT_OK ? WriteOutpValues(ctx, 0, values) : rc;
}

VEXA_OPERATOR(send_image) { return SendObjects(ctx, ItemKind::kImage, kImageTag); }
VEXA_OPERATOR(receive_image) { return ReceiveObjects(ctx, ItemKind::kImage, kImageTag); }
VEXA_OPERATOR(send_region) { return SendObjects(ctx, ItemKind::kRegion, kRegionTag); }
VEXA_OPERATOR(receive_region) { return ReceiveObjects(ctx, ItemKind::kRegion, kRegionTag); }
VEXA_OPERATOR(send_xld) { return SendObjects(ctx, ItemKind::kXld, kXldTag); }
VEXA_OPERATOR(receive_xld) { return ReceiveObjects(ctx, ItemKind::kXld, kXldTag); }

VEXA_OPERATOR(send_serialized_item) {
  std::shared_ptr<SocketTool> s;
  std::shared_ptr<SerializedItem> item;
  Vresult rc = InpDataSocket(ctx, 0, &s);
  if (rc == VRESULT_OK) rc = InpTool(ctx, 1, &item);
  if (rc != VRESULT_OK) return rc;
  // Only whole items travel: the receiver finds the length in the header.
  ItemKind kind;
  rc = ItemKindOf(item->data(), item->size(), &kind);
  return rc == VRESULT_OK ? s->SendFrame(kItemTag, item->data(), item->size()) : rc;
}

VEXA_OPERATOR(receive_serialized_item) {
  std::shared_ptr<SocketTool> s;
  ItemBytes item;
  Vresult rc = InpDataSocket(ctx, 0, &s);
  if (rc == VRESULT_OK) rc = s->ReceiveFrame(kItemTag, &item);
  return rc == VRESULT_OK ? OutpNewItem(ctx, 0, std::move(item)) : rc;
}

}  // namespace vexa
