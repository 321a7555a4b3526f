// A producer and a consumer thread exchanging images through a message
// queue. The producer makes ten images of rising brightness, puts each
// into a message with its index, and ends with a message that says stop;
// the consumer takes them off the queue (waiting at most five seconds for
// each) and checks every image's mean gray value against its index.
//
// Messages hold their own references to the objects: the producer's
// images may go as soon as the message is queued.
#include <vexaobj.h>
#include <vexaobj/VTools.h>

#include <cmath>
#include <cstdio>
#include <thread>

using namespace Vexa;

namespace {

constexpr int kImages = 10;

void Produce(const VMessageQueue& queue) {
  Vobject blank;
  gen_image_const(&blank, "byte", 64, 48);
  for (int i = 0; i < kImages; ++i) {
    Vobject image;
    gen_image_proto(blank, &image, 20.0 * i);
    VMessage message;
    message.CreateMessage();
    message.SetMessageTuple("stop", VTuple(Vlong{0}));
    message.SetMessageTuple("index", VTuple(Vlong{i}));
    set_message_obj(image, message.GetHandle(), "image");
    queue.EnqueueMessage(message, VTuple(), VTuple());
  }
  VMessage stop;
  stop.CreateMessage();
  stop.SetMessageTuple("stop", VTuple(Vlong{1}));
  queue.EnqueueMessage(stop, VTuple(), VTuple());
}

// Returns the number of images received with the expected brightness.
int Consume(const VMessageQueue& queue) {
  int good = 0;
  for (;;) {
    const VMessage message = queue.DequeueMessage("timeout", 5.0);
    if (message.GetMessageTuple("stop")[0].L() == 1) return good;
    const Vlong index = message.GetMessageTuple("index")[0].L();
    Vobject image;
    double mean = 0, deviation = 0;
    if (get_message_obj(&image, message.GetHandle(), "image") == 2 &&
        intensity(image, image, &mean, &deviation) == 2 && std::fabs(mean - 20.0 * index) < 1e-9)
      ++good;
    std::printf("received image %lld, mean gray %.1f\n", (long long)index, mean);
  }
}

}  // namespace

int main() {
  VMessageQueue queue;
  queue.CreateMessageQueue();
  int received = 0;
  std::thread consumer([&] { received = Consume(queue); });
  std::thread producer([&] { Produce(queue); });
  producer.join();
  consumer.join();
  std::printf("%d of %d images arrived intact\n", received, kImages);
  return received == kImages ? 0 : 1;
}
