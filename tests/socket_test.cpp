// Sockets over the loopback interface: images, regions, sub-pixel
// objects, tuples and items arrive byte-exact over TCP, tuples over UDP; the next frame's type can be
// peeked; wrong kinds, timeouts, closed peers, refused connections and
// listening sockets used for data give their codes.
#include <gtest/gtest.h>

#include <chrono>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <vexaobj.h>

#include "serialized_objects_support.h"
#include "vexa/errors.h"

namespace {

using namespace Vexa;

class SocketTest : public image_test::ImageOpsTest {
 protected:
  void TearDown() override {
    EXPECT_EQ(close_all_sockets(), VRESULT_OK);
    EXPECT_EQ(clear_all_serialized_items(), VRESULT_OK);
    image_test::ImageOpsTest::TearDown();
  }
  static VTuple Params() { return VTuple("protocol").Append(VTuple("timeout")); }
  static VTuple Values(const char* protocol, double timeout) {
    return VTuple(protocol).Append(VTuple(timeout));
  }
  // A listening socket on a free port, and its port.
  static Vlong Listen(const char* protocol, Vlong* port, double timeout = 10.0) {
    Vlong listener = -1;
    EXPECT_EQ(open_socket_accept(VTuple(Vlong{0}), Params(),
                                 Values(protocol, timeout), &listener),
              VRESULT_OK);
    VTuple p;
    EXPECT_EQ(get_socket_param(listener, "port", &p), VRESULT_OK);
    *port = p[0].L();
    return listener;
  }
  static Vlong Connect(const char* protocol, Vlong port, double timeout = 10.0) {
    Vlong s = -1;
    EXPECT_EQ(open_socket_connect(VTuple("127.0.0.1"), VTuple(port), Params(),
                                  Values(protocol, timeout), &s),
              VRESULT_OK);
    return s;
  }
  // A connected pair over TCP: (client, server side).
  static void Pair(Vlong* client, Vlong* server) {
    Vlong port = 0;
    const Vlong listener = Listen("TCP4", &port);
    *client = Connect("TCP4", port);
    ASSERT_EQ(socket_accept_connect(listener, "true", server), VRESULT_OK);
    EXPECT_EQ(close_socket(listener), VRESULT_OK);
  }
};

TEST_F(SocketTest, ObjectsTuplesAndItemsArriveByteExactOverTcp) {
  Vlong client = -1, server = -1;
  Pair(&client, &server);
  const std::vector<Vobject> samples = serial_test::Samples(rng_);
  const std::vector<Vobject> images(samples.begin(), samples.end() - 2);
  const std::vector<Vobject> regions(samples.end() - 2, samples.end());
  const std::vector<Vobject> xlds = serial_test::XldSamples(rng_);
  Vlong item = -1;
  ASSERT_EQ(serialize_tuple(VTuple("in an item"), &item), VRESULT_OK);

  std::thread sender([&] {
    EXPECT_EQ(send_image(image_test::Concat(images), client), VRESULT_OK);
    EXPECT_EQ(send_region(image_test::Concat(regions), client), VRESULT_OK);
    EXPECT_EQ(send_tuple(client, VTuple(Vlong{5}).Append(VTuple(-2.5)).Append(VTuple("x"))),
              VRESULT_OK);
    EXPECT_EQ(send_serialized_item(client, item), VRESULT_OK);
    EXPECT_EQ(send_xld(image_test::Concat(xlds), client), VRESULT_OK);
    EXPECT_EQ(send_tuple(client, VTuple()), VRESULT_OK);
  });
  VTuple type;
  ASSERT_EQ(get_next_socket_data_type(server, &type), VRESULT_OK);
  EXPECT_STREQ(type[0].S(), "image");
  Vobject back;
  ASSERT_EQ(receive_image(&back, server), VRESULT_OK);
  serial_test::ExpectSameObjects(images, back);
  ASSERT_EQ(receive_region(&back, server), VRESULT_OK);
  serial_test::ExpectSameObjects(regions, back);
  VTuple t;
  ASSERT_EQ(receive_tuple(server, &t), VRESULT_OK);
  ASSERT_EQ(t.Num(), 3);
  EXPECT_EQ(t[0].L(), 5);
  EXPECT_EQ(t[1].D(), -2.5);
  EXPECT_STREQ(t[2].S(), "x");
  ASSERT_EQ(get_next_socket_data_type(server, &type), VRESULT_OK);
  EXPECT_STREQ(type[0].S(), "serialized_item");
  Vlong got = -1;
  ASSERT_EQ(receive_serialized_item(server, &got), VRESULT_OK);
  ASSERT_EQ(deserialize_tuple(got, &t), VRESULT_OK);
  EXPECT_STREQ(t[0].S(), "in an item");
  ASSERT_EQ(get_next_socket_data_type(server, &type), VRESULT_OK);
  EXPECT_STREQ(type[0].S(), "xld");
  ASSERT_EQ(receive_xld(&back, server), VRESULT_OK);
  serial_test::ExpectSameObjects(xlds, back);
  // A tuple where an image is expected: refused.
  EXPECT_EQ(receive_image(&back, server), VERR_DATA_KIND);
  sender.join();
}

TEST_F(SocketTest, TimeoutsClosedPeersAndRefusals) {
  Vlong client = -1, server = -1;
  Pair(&client, &server);
  EXPECT_EQ(set_socket_param(server, "timeout", 0.05), VRESULT_OK);
  VTuple t;
  EXPECT_EQ(get_socket_param(server, "timeout", &t), VRESULT_OK);
  EXPECT_DOUBLE_EQ(t[0].D(), 0.05);
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(receive_tuple(server, &t), VERR_TIMEOUT);
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(45));
  EXPECT_EQ(close_socket(client), VRESULT_OK);
  EXPECT_EQ(receive_tuple(server, &t), VERR_SOCKET_CLOSED);
  EXPECT_EQ(send_tuple(client, VTuple(Vlong{1})), VERR_HANDLE_CLOSED);

  Vlong port = 0;
  const Vlong listener = Listen("TCP4", &port, 0.05);
  Vlong s = -1;
  EXPECT_EQ(socket_accept_connect(listener, "false", &s), VERR_TIMEOUT);
  EXPECT_EQ(socket_accept_connect(listener, "true", &s), VERR_TIMEOUT);
  EXPECT_EQ(receive_tuple(listener, &t), VERR_SOCKET);
  EXPECT_EQ(close_socket(listener), VRESULT_OK);
  EXPECT_EQ(open_socket_connect(VTuple("127.0.0.1"), VTuple(port), VTuple(), VTuple(), &s),
            VERR_SOCKET);
  EXPECT_EQ(open_socket_accept(VTuple(Vlong{70000}), VTuple(), VTuple(), &s), VERR_CTRL_VALUE(0));
  EXPECT_EQ(open_socket_accept(VTuple(Vlong{0}), VTuple("protocol"), VTuple("SCTP"), &s),
            VERR_CTRL_VALUE(2));
  EXPECT_EQ(open_socket_accept(VTuple(Vlong{0}), VTuple("colour"), VTuple("red"), &s),
            VERR_CTRL_VALUE(1));
  Vlong item = -1;
  ASSERT_EQ(serialize_tuple(VTuple(), &item), VRESULT_OK);
  EXPECT_EQ(send_tuple(item, VTuple()), VERR_HANDLE_TYPE);
}

TEST_F(SocketTest, ClosingASocketWakesAThreadReceivingOnIt) {
  Vlong client = -1, server = -1;
  Pair(&client, &server);
  std::thread receiver([&] {
    VTuple t;
    const unsigned int rc = receive_tuple(server, &t);
    EXPECT_TRUE(rc == VERR_SOCKET_CLOSED || rc == VERR_SOCKET || rc == VERR_HANDLE_CLOSED) << rc;
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  EXPECT_EQ(close_socket(server), VRESULT_OK);
  receiver.join();
}

TEST_F(SocketTest, TuplesAndRegionsOverUdp) {
  Vlong port = 0;
  const Vlong receiver = Listen("UDP4", &port);
  const Vlong sender = Connect("UDP4", port);
  EXPECT_EQ(send_tuple(sender, VTuple(Vlong{7}).Append(VTuple("udp"))), VRESULT_OK);
  VTuple t;
  ASSERT_EQ(receive_tuple(receiver, &t), VRESULT_OK);
  ASSERT_EQ(t.Num(), 2);
  EXPECT_EQ(t[0].L(), 7);
  EXPECT_STREQ(t[1].S(), "udp");
  const Vobject region = image_test::RegionObject(image_test::RandomMask(rng_, 20, 20));
  EXPECT_EQ(send_region(region, sender), VRESULT_OK);
  Vobject back;
  ASSERT_EQ(receive_region(&back, receiver), VRESULT_OK);
  serial_test::ExpectSameObject(region, back);
  VTuple protocol;
  EXPECT_EQ(get_socket_param(receiver, "protocol", &protocol), VRESULT_OK);
  EXPECT_STREQ(protocol[0].S(), "UDP4");
}

TEST_F(SocketTest, RawDataByFormatOverTcpAndUdp) {
  Vlong client = -1, server = -1;
  Pair(&client, &server);
  const char* format = "c C n2 N q f d a6 z";
  VTuple data;
  for (Vlong v : {Vlong{-5}, Vlong{250}, Vlong{-30000}, Vlong{1234}, Vlong{-70000},
                  Vlong{-(Vlong{1} << 40)}})
    data.Append(VTuple(v));
  data.Append(VTuple(0.5)).Append(VTuple(-1e300)).Append(VTuple("abc")).Append(VTuple("zero end"));
  ASSERT_EQ(send_data(client, format, data, VTuple()), VRESULT_OK);
  VTuple got, sender;
  ASSERT_EQ(receive_data(server, format, &got, &sender), VRESULT_OK);
  ASSERT_EQ(got.Num(), data.Num());
  for (Vlong i = 0; i < 6; ++i) EXPECT_EQ(got[i].L(), data[i].L()) << i;
  EXPECT_EQ(got[6].D(), 0.5);
  EXPECT_EQ(got[7].D(), -1e300);
  EXPECT_STREQ(got[8].S(), "abc");
  EXPECT_STREQ(got[9].S(), "zero end");
  EXPECT_STREQ(sender[0].S(), "127.0.0.1");

  EXPECT_EQ(send_data(client, "N2", VTuple(Vlong{1}), VTuple()), VERR_CTRL_NUM(2));
  EXPECT_EQ(send_data(client, "a2", VTuple("too long"), VTuple()), VERR_CTRL_VALUE(2));
  EXPECT_EQ(send_data(client, "x", VTuple(Vlong{1}), VTuple()), VERR_CTRL_VALUE(1));
  EXPECT_EQ(send_data(client, "N", VTuple("text"), VTuple()), VERR_CTRL_TYPE(2));

  Vlong port = 0;
  const Vlong receiver = Listen("UDP4", &port);
  const Vlong udp = Connect("UDP4", port);
  ASSERT_EQ(send_data(udp, "n z", VTuple(Vlong{7}).Append(VTuple("dgram")),
                      VTuple("127.0.0.1").Append(VTuple(port))),
            VRESULT_OK);
  ASSERT_EQ(receive_data(receiver, "n z", &got, &sender), VRESULT_OK);
  EXPECT_EQ(got[0].L(), 7);
  EXPECT_STREQ(got[1].S(), "dgram");
  EXPECT_EQ(sender[0].S(), std::string("127.0.0.1"));
}

}  // namespace

namespace {

// A frame whose header claims 8 GiB, of which the peer sends four bytes
// before closing: the receiver reports the closed connection and never
// holds more than the bytes that came.
TEST_F(SocketTest, AFrameClaimingMoreThanArrivesIsRefusedWithoutTheClaimedMemory) {
  Vlong client = -1, server = -1;
  Pair(&client, &server);
  const unsigned char header[] = {'R', 'E', 'G', 'N', 'V', 'X', 'S', 'I', 1, 0, 3, 0,
                                  0,   0,   0,   0,   2,   0,   0,   0,   0, 0, 0, 0,
                                  9,   9,   9,   9};
  VTuple bytes;
  for (unsigned char b : header) bytes.Append(VTuple(Vlong{b}));
  ASSERT_EQ(send_data(client, "c28", bytes, VTuple()), VRESULT_OK);
  ASSERT_EQ(close_socket(client), VRESULT_OK);
  Vobject region;
  EXPECT_EQ(receive_region(&region, server), VERR_SOCKET_CLOSED);
}

}  // namespace
