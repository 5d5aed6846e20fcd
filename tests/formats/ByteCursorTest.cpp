// ByteCursor: both byte orders, zeros and the overrun flag past the end, and the
// count checks that keep readers from allocating what the data can't hold.
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <vector>

#include "formats/ByteCursor.h"

using zev::ByteCursor;

TEST(ByteCursor, ReadsInBothOrdersAndZeroFillsPastTheEnd) {
  const std::uint8_t data[] = {0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07};
  struct Case { bool big; std::uint16_t u16; std::uint32_t u32; std::uint16_t tail; };
  const Case cases[] = {{true, 0x0102, 0x03040506, 0x0700}, {false, 0x0201, 0x06050403, 0x0007}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.big ? "big-endian" : "little-endian");
    ByteCursor cur(data, sizeof data, c.big);
    EXPECT_EQ(cur.U16(), c.u16);
    EXPECT_EQ(cur.U32(), c.u32);
    EXPECT_FALSE(cur.Overrun());
    EXPECT_EQ(cur.U16(), c.tail);  // one byte left: the other reads as zero
    EXPECT_TRUE(cur.Overrun());
    EXPECT_TRUE(cur.AtEnd());
    EXPECT_EQ(cur.U32(), 0u);
  }
}

TEST(ByteCursor, SeeksAndCountChecks) {
  std::vector<std::uint8_t> data(16, 0xAB);
  ByteCursor cur(data.data(), data.size(), true);
  EXPECT_TRUE(cur.Seek(16));
  EXPECT_FALSE(cur.Overrun());
  EXPECT_FALSE(cur.Seek(17));
  EXPECT_TRUE(cur.Overrun());
  EXPECT_EQ(cur.Tell(), 16u);
  cur.ClearOverrun();
  cur.Seek(4);

  struct Case { std::uint64_t count; std::size_t elem; bool fits; };
  const Case cases[] = {{12, 1, true}, {13, 1, false}, {3, 4, true}, {4, 4, false}, {0, 8, true},
                        {std::numeric_limits<std::uint64_t>::max(), 2, false},
                        {std::numeric_limits<std::size_t>::max() / 2 + 1, 2, false}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.count);
    EXPECT_EQ(cur.CanReadArray(c.count, c.elem), c.fits);
  }
  EXPECT_TRUE(cur.RangeInside(0, 16));
  EXPECT_FALSE(cur.RangeInside(1, 16));
  EXPECT_FALSE(cur.RangeInside(std::numeric_limits<std::uint64_t>::max(), 2));
  EXPECT_NE(cur.Peek(12), nullptr);
  EXPECT_EQ(cur.Peek(13), nullptr);
}

TEST(ByteCursor, SixteenBitArraysAndStrings) {
  const std::uint8_t data[] = {0x00, 0x01, 0xFF, 0xFE, 0x12};
  for (bool big : {true, false}) {
    SCOPED_TRACE(big);
    ByteCursor cur(data, sizeof data, big);
    std::uint16_t whole[2];
    cur.ReadU16Array(whole, 2);
    EXPECT_EQ(whole[0], big ? 0x0001 : 0x0100);
    EXPECT_EQ(whole[1], big ? 0xFFFE : 0xFEFF);
    std::uint16_t past[3] = {9, 9, 9};
    cur.ReadU16Array(past, 3);  // the slow path: one byte, then zeros
    EXPECT_EQ(past[0], big ? 0x1200 : 0x0012);
    EXPECT_EQ(past[1], 0);
    EXPECT_EQ(past[2], 0);
    EXPECT_TRUE(cur.Overrun());
  }
  ByteCursor cur(data, sizeof data);
  cur.Seek(2);
  EXPECT_EQ(cur.Bytes(10), std::string("\xFF\xFE\x12"));
  EXPECT_TRUE(cur.Overrun());
  ByteCursor empty(nullptr, 100);
  EXPECT_EQ(empty.Size(), 0u);
  EXPECT_EQ(empty.U8(), 0);
}
