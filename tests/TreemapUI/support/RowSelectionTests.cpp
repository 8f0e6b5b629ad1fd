// Choosing rows the way people do, and keeping the choice while a list changes.
#include <gtest/gtest.h>

#include "support/RowSelection.h"

using namespace tessel;
using Gesture = RowSelection::Gesture;

namespace {

class Rows : public testing::Test {
protected:
    std::vector<std::string> shown{"a", "b", "c", "d", "e"};
    RowSelection selection;

    std::vector<std::size_t> chosen() const { return selection.indexesIn(shown); }
};

} // namespace

TEST_F(Rows, AClickChoosesOneRowAndCtrlAddsOrTakesAway) {
    selection.click(shown, 1, Gesture::only);
    selection.click(shown, 3, Gesture::toggle);
    EXPECT_EQ(chosen(), (std::vector<std::size_t>{1, 3}));
    selection.click(shown, 1, Gesture::toggle);
    EXPECT_EQ(chosen(), (std::vector<std::size_t>{3}));
    selection.click(shown, 4, Gesture::only);
    EXPECT_EQ(chosen(), (std::vector<std::size_t>{4}));
}

TEST_F(Rows, ShiftChoosesTheRangeFromTheAnchorEitherWay) {
    selection.click(shown, 1, Gesture::only);
    selection.click(shown, 3, Gesture::extend);
    EXPECT_EQ(chosen(), (std::vector<std::size_t>{1, 2, 3}));
    // The anchor stays where the range began: a second Shift-click redraws the range.
    selection.click(shown, 0, Gesture::extend);
    EXPECT_EQ(chosen(), (std::vector<std::size_t>{0, 1}));
    // A Ctrl-click moves the anchor.
    selection.click(shown, 2, Gesture::toggle);
    selection.click(shown, 4, Gesture::extend);
    EXPECT_EQ(chosen(), (std::vector<std::size_t>{2, 3, 4}));
}

TEST_F(Rows, ChosenRowsFollowTheirIdsWhenTheListIsSortedOrFilledAnew) {
    selection.click(shown, 1, Gesture::only);
    selection.click(shown, 2, Gesture::toggle);
    shown = {"c", "e", "b", "a"}; // "d" left, the rest sorted otherwise
    selection.keepOnly(shown);
    EXPECT_EQ(chosen(), (std::vector<std::size_t>{0, 2}));
    shown = {"a", "e"};
    selection.keepOnly(shown);
    EXPECT_TRUE(selection.empty());
    // The anchor left with its row: Shift-click starts afresh where it lands.
    selection.click(shown, 1, Gesture::extend);
    EXPECT_EQ(chosen(), (std::vector<std::size_t>{1}));
}

TEST_F(Rows, AContextMenuKeepsAChoiceItPointsIntoAndOtherwiseReplacesIt) {
    selection.click(shown, 1, Gesture::only);
    selection.click(shown, 2, Gesture::extend);
    selection.pointAt(shown, 2);
    EXPECT_EQ(chosen(), (std::vector<std::size_t>{1, 2}));
    selection.pointAt(shown, 4);
    EXPECT_EQ(chosen(), (std::vector<std::size_t>{4}));
    selection.click(shown, 9, Gesture::only); // past the end: nothing happens
    EXPECT_EQ(chosen(), (std::vector<std::size_t>{4}));
}
