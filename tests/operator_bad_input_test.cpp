// Every operator through VOperator with inputs of the wrong kind: objects
// of the other class, strings for numbers and numbers for strings,
// negative, huge and not-a-number values, a string of 1 MB, and a key that
// was deleted. Each call must answer with a code or raise, leave its input
// objects as they were and keep no object or memory; a call that does not
// return within a time limit fails the run with the operator's name.
#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <cstdio>
#include <filesystem>
#include <limits>
#include <mutex>
#include <new>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <vexaobj.h>

#include "objdb.h"
#include "sweep_params.inc"
#include "vexa/errors.h"
#include "vexa/runtime.h"

namespace {

using namespace Vexa;

// Operators left out, each for what it would do to the test process.
struct Skipped {
  const char* name;
  const char* reason;
};
const Skipped kSkipped[] = {
    {"gen_image1", "copies pixels from an address given as a number"},
    {"gen_image3", "copies pixels from addresses given as numbers"},
    {"gen_image1_extern", "takes pixels and a release function from addresses"},
    {"gen_image3_extern", "takes pixels and a release function from addresses"},
    {"gen_image1_rect", "takes pixels and a release function from addresses"},
    {"gen_image_interleaved", "copies pixels from an address given as a number"},
    {"create_serialized_item_ptr", "copies bytes from an address given as a number"},
    {"wait_seconds", "sleeps for the given time, however long"},
    {"system_call", "runs a shell command"},
    {"reset_obj_db", "deletes every object of the process, the test's own too"},
    {"set_system", "changes process-wide settings for every later test"},
    {"set_current_dir", "moves the process to another working directory"},
    {"read_char", "waits for a key in a window"},
    {"read_string", "waits for text typed in a window"},
    {"get_mbutton", "waits for a mouse click in a window"},
    {"get_mbutton_sub_pix", "waits for a mouse click in a window"},
    {"wait_condition", "blocks on a condition an earlier call may have made"},
    {"timed_wait_condition", "blocks on a condition an earlier call may have made"},
    {"wait_barrier", "blocks on a barrier an earlier call may have made"},
    {"wait_event", "blocks on an event an earlier call may have made"},
    {"lock_mutex", "blocks on a mutex an earlier call may have locked"},
};
// Every draw_ operator waits for the user to draw in a window.
constexpr const char* kSkippedPrefix = "draw_";

bool IsLeftOut(const std::string& name) {
  if (name.rfind(kSkippedPrefix, 0) == 0) return true;
  for (const Skipped& s : kSkipped) {
    if (name == s.name) return true;
  }
  return false;
}

enum class Bad {
  kObjectClass,       // a region where an image is expected, and the reverse
  kStringForNumber,   // every control a string
  kNumberForString,   // every control a number
  kNegative,          // every number -1
  kHuge,              // every number far beyond any size
  kNaN,               // every number not a number
  kLongString,        // every string 1 MB long
  kDeletedKey,        // every object a deleted key
};

const char* Name(Bad bad) {
  switch (bad) {
    case Bad::kObjectClass: return "ObjectClass";
    case Bad::kStringForNumber: return "StringForNumber";
    case Bad::kNumberForString: return "NumberForString";
    case Bad::kNegative: return "Negative";
    case Bad::kHuge: return "Huge";
    case Bad::kNaN: return "NaN";
    case Bad::kLongString: return "LongString";
    case Bad::kDeletedKey: return "DeletedKey";
  }
  return "?";
}

void ThrowCopy(const VException& e) { throw VException(e); }

// The operators that have an implementation and are not left out: only
// they get past the call frame to look at their inputs. Called with no
// inputs, the others answer VERR_NOT_AVAILABLE.
const std::vector<int32_t>& SweptOperators() {
  static const std::vector<int32_t> swept = [] {
    std::vector<int32_t> ops;
    for (int32_t op = 0; op < VOperatorCount(); ++op) {
      if (IsLeftOut(VOIGet_LogicalName(op))) continue;
      try {
        if (VOperator(VOIGet_LogicalName(op)).Execute() == VERR_NOT_AVAILABLE) continue;
      } catch (const VException& e) {
        if (e.err == VERR_NOT_AVAILABLE) continue;
      }
      ops.push_back(op);
    }
    return ops;
  }();
  return swept;
}

// Ends the process with the operator's name when a call does not return in
// time, so that a hang names its culprit instead of running into the
// test's timeout.
class Watchdog {
 public:
  explicit Watchdog(std::chrono::seconds limit) : limit_(limit), thread_([this] { Watch(); }) {}
  ~Watchdog() {
    {
      std::lock_guard<std::mutex> lock(mutex_);
      done_ = true;
    }
    wake_.notify_one();
    thread_.join();
  }
  void Start(const std::string& what) {
    std::lock_guard<std::mutex> lock(mutex_);
    what_ = what;
    deadline_ = std::chrono::steady_clock::now() + limit_;
    ++call_;
  }

 private:
  void Watch() {
    std::unique_lock<std::mutex> lock(mutex_);
    while (!done_) {
      const unsigned long call = call_;
      if (wake_.wait_until(lock, deadline_, [&] { return done_ || call_ != call; })) continue;
      if (call_ == 0) {
        deadline_ = std::chrono::steady_clock::now() + limit_;
        continue;
      }
      std::fprintf(stderr, "%s did not return within %lld s\n", what_.c_str(),
                   static_cast<long long>(limit_.count()));
      std::abort();
    }
  }

  const std::chrono::seconds limit_;
  std::mutex mutex_;
  std::condition_variable wake_;
  std::string what_;
  std::chrono::steady_clock::time_point deadline_ = std::chrono::steady_clock::now() + limit_;
  unsigned long call_ = 0;
  bool done_ = false;
  std::thread thread_;
};

// What an input object holds, to tell that a call left it alone.
struct Contents {
  std::vector<vexa::Chord> chords;
  std::vector<std::vector<unsigned char>> channels;
  bool operator==(const Contents& o) const { return chords == o.chords && channels == o.channels; }
};

Contents ContentsOf(Vkey key) {
  Contents c;
  vexa::RegionPtr region;
  EXPECT_EQ(vexa::db::GetRegion(key, &region), VRESULT_OK);
  if (region) c.chords = region->chords();
  vexa::db::ImageData image;
  if (vexa::db::GetImage(key, &image) == VRESULT_OK) {
    for (const vexa::PixelBuffer* channel : image.channels) {
      c.channels.emplace_back(channel->data(), channel->data() + channel->pixel_bytes());
    }
  }
  return c;
}

class OperatorBadInput : public ::testing::TestWithParam<Bad> {
 protected:
  void SetUp() override {
    old_handler_ = VException::InstallVHandler(&ThrowCopy);
    // Operators that write files write them into a directory of their own.
    home_ = std::filesystem::current_path();
    char dir[] = "/tmp/vexa_bad_input_XXXXXX";
    ASSERT_NE(mkdtemp(dir), nullptr);
    scratch_ = dir;
    std::filesystem::current_path(scratch_);
    MakeInputs();
  }
  void TearDown() override {
    region_ = Vobject();
    image_ = Vobject();
    std::filesystem::current_path(home_);
    std::filesystem::remove_all(scratch_);
    VException::InstallVHandler(old_handler_);
  }

  // A ring-shaped region and a two-channel image of random bytes whose
  // domain leaves out a corner.
  void MakeInputs() {
    std::vector<vexa::Chord> chords;
    for (int32_t r = 0; r < 9; ++r) {
      const bool hole = r > 2 && r < 6;
      chords.push_back({r, 0, hole ? 3 : 12});
      if (hole) chords.push_back({r, 8, 12});
    }
    Vkey key = VKEY_UNDEF;
    ASSERT_EQ(vexa::db::NewRegion(vexa::Region::FromChords(chords), &key), VRESULT_OK);
    region_ = Vobject(key, 1);

    std::mt19937 random(7);
    std::vector<std::unique_ptr<vexa::PixelBuffer>> channels(2);
    for (auto& channel : channels) {
      ASSERT_EQ(vexa::PixelBuffer::Create(vexa::PixelType::kByte, 16, 12, &channel), VRESULT_OK);
      for (size_t i = 0; i < channel->pixel_bytes(); ++i) channel->data()[i] = random() & 0xff;
    }
    ASSERT_EQ(vexa::db::NewImage(vexa::Region::Rectangle(2, 0, 11, 13), std::move(channels), &key),
              VRESULT_OK);
    image_ = Vobject(key, 1);
  }

  // The object for an input of class `cls` ('r', 'i', 'x', 'o'). No
  // contour objects exist yet: those inputs get a region, of the wrong
  // class either way.
  const Vobject& InputObject(char cls, Bad bad) const {
    const bool wants_image = cls == 'i' || cls == 'o';
    return (wants_image != (bad == Bad::kObjectClass)) ? image_ : region_;
  }

  // Puts the key of a just deleted region into an input slot. Copying a
  // key checks it, so the slot is remade as a wrapper that neither copies
  // nor releases its key.
  static void PutDeletedKey(Vobject* slot) {
    Vkey key = VKEY_UNDEF;
    EXPECT_EQ(vexa::db::NewRegion(vexa::Region::Rectangle(0, 0, 1, 1), &key), VRESULT_OK);
    EXPECT_EQ(vexa::db::Release(key), VRESULT_OK);
    slot->~Vobject();
    new (slot) Vobject(key, 0);
  }

  // The value for a control of type `type` ('l', 'd', 's', 't').
  VTuple InputControl(char type, Bad bad) const {
    const bool number = type == 'l' || type == 'd' || (type == 't' && bad != Bad::kLongString);
    switch (bad) {
      case Bad::kStringForNumber: return VTuple("a");
      case Bad::kNumberForString: return VTuple(Vlong{1});
      case Bad::kLongString: if (!number) return long_string_; break;
      case Bad::kNegative: if (number) return type == 'd' ? VTuple(-1.0) : VTuple(Vlong{-1}); break;
      case Bad::kHuge: if (number) return type == 'd' ? VTuple(1e300) : VTuple(Vlong{1} << 62); break;
      case Bad::kNaN: if (number) return VTuple(std::numeric_limits<double>::quiet_NaN()); break;
      case Bad::kObjectClass:
      case Bad::kDeletedKey: break;
    }
    if (!number) return VTuple("a");
    return type == 'd' ? VTuple(1.0) : VTuple(Vlong{1});
  }

  // Runs operator `op` with inputs made bad in the way `bad`. Any code or
  // raised failure is an answer; the checks are on what the call leaves.
  void Run(int32_t op, Bad bad) {
    const vexa_sweep::OperatorParams& params = vexa_sweep::kOperatorParams[op];
    try {
      VOperator call(VOIGet_LogicalName(op));
      for (int i = 0; params.objects[i] != '\0'; ++i) {
        if (bad == Bad::kDeletedKey) {
          PutDeletedKey(&call.GetInpObj()[i]);
        } else {
          call.SetInputObject(i + 1, InputObject(params.objects[i], bad));
        }
      }
      for (int i = 0; params.controls[i] != '\0'; ++i) {
        call.SetInputCtrl(i + 1, InputControl(params.controls[i], bad));
      }
      call.Execute();
    } catch (const VException&) {
    }
  }

  const VTuple long_string_{std::string(1 << 20, 'x').c_str()};
  Vobject region_;
  Vobject image_;
  std::filesystem::path home_;
  std::filesystem::path scratch_;
  VHandlerProc old_handler_ = nullptr;
};

TEST_P(OperatorBadInput, EveryOperatorAnswersAndKeepsItsInputsAndNothingElse) {
  const Bad bad = GetParam();
  ASSERT_EQ(static_cast<size_t>(VOperatorCount()), std::size(vexa_sweep::kOperatorParams));
  const Contents region_before = ContentsOf(region_.Id());
  const Contents image_before = ContentsOf(image_.Id());

  const std::vector<int32_t>& swept = SweptOperators();
  EXPECT_FALSE(swept.empty());

  VTraceMemory = 1;
  Watchdog watchdog(std::chrono::seconds(60));
  for (const int32_t op : swept) {
    const std::string name = VOIGet_LogicalName(op);
    watchdog.Start(name + " with " + Name(bad) + " inputs");
    const vexa::db::Stats stats = vexa::db::GetStats();
    const Vlong live = VMemTraceLiveCount();

    Run(op, bad);

    EXPECT_TRUE(ContentsOf(region_.Id()) == region_before) << name << " changed its input region";
    EXPECT_TRUE(ContentsOf(image_.Id()) == image_before) << name << " changed its input image";
    const vexa::db::Stats now = vexa::db::GetStats();
    EXPECT_EQ(now.regions, stats.regions) << name;
    EXPECT_EQ(now.images, stats.images) << name;
    EXPECT_EQ(now.tuples, stats.tuples) << name;
    EXPECT_EQ(now.channels, stats.channels) << name;
    EXPECT_EQ(VMemTraceLiveCount(), live) << name << " kept traced memory";
  }
  VTraceMemory = 0;
}

INSTANTIATE_TEST_SUITE_P(AllKinds, OperatorBadInput,
                         ::testing::Values(Bad::kObjectClass, Bad::kStringForNumber,
                                           Bad::kNumberForString, Bad::kNegative, Bad::kHuge,
                                           Bad::kNaN, Bad::kLongString, Bad::kDeletedKey),
                         [](const ::testing::TestParamInfo<Bad>& info) { return Name(info.param); });

}  // namespace
