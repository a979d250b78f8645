// CRect: compared with itself and with the system's rectangle, on either side.

#include "kvtfile/types.h"
#include "tests/support/support.h"

TEST(Rect, ComparesWithARectOnEitherSide) {
    const CRect rect(1, 2, 3, 4);
    const RECT same{1, 2, 3, 4};
    EXPECT_TRUE(rect == same);
    EXPECT_TRUE(same == rect);
    EXPECT_FALSE(rect != same);
    EXPECT_FALSE(same != rect);
    for (const RECT& other : {RECT{0, 2, 3, 4}, RECT{1, 0, 3, 4}, RECT{1, 2, 0, 4}, RECT{1, 2, 3, 0}}) {
        EXPECT_FALSE(rect == other);
        EXPECT_FALSE(other == rect);
        EXPECT_TRUE(rect != CRect(other));
    }
}

TEST(Rect, IsEmptyWithoutWidthOrHeightAndNullWithoutEdges) {
    EXPECT_TRUE(CRect().IsRectNull());
    EXPECT_TRUE(CRect().IsRectEmpty());
    EXPECT_TRUE(CRect(5, 1, 5, 9).IsRectEmpty());
    EXPECT_TRUE(CRect(5, 9, 8, 1).IsRectEmpty());
    EXPECT_FALSE(CRect(5, 1, 5, 9).IsRectNull());
    EXPECT_FALSE(CRect(0, 0, 1, 1).IsRectEmpty());
    EXPECT_EQ(CRect(2, 3, 12, 23).Width(), 10);
    EXPECT_EQ(CRect(2, 3, 12, 23).Height(), 20);
}
