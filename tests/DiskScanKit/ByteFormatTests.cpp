#include <gtest/gtest.h>

#include "DiskScanKit/ByteFormat.h"

using namespace tessel;

TEST(ByteFormat, Placeholder) { EXPECT_EQ(ByteFormat::string(999), "999 bytes"); }
