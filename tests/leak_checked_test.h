// A fixture that checks, when a test ends, that traced memory and the
// object database (regions, images, sub-pixel objects, key tuples, pixel
// channels) are back where they were when it began.
#pragma once

#include <gtest/gtest.h>

#include "objdb.h"
#include "vexa/runtime.h"

class LeakCheckedTest : public ::testing::Test {
 protected:
  void SetUp() override {
    VTraceMemory = 1;
    live_ = VMemTraceLiveCount();
    stats_ = vexa::db::GetStats();
  }
  void TearDown() override {
    EXPECT_EQ(VMemTraceLiveCount(), live_);
    VTraceMemory = 0;
    const vexa::db::Stats now = vexa::db::GetStats();
    EXPECT_EQ(now.regions, stats_.regions);
    EXPECT_EQ(now.images, stats_.images);
    EXPECT_EQ(now.tuples, stats_.tuples);
    EXPECT_EQ(now.channels, stats_.channels);
    EXPECT_EQ(now.xlds, stats_.xlds);
  }

 private:
  Vlong live_ = 0;
  vexa::db::Stats stats_;
};
