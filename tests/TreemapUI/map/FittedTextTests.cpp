// Labels of ours give up whole words, never half a figure.
#include <gtest/gtest.h>

#include "map/FittedText.h"

using namespace tessel;

namespace {
// One unit a character: widths are easy to reason about.
double characters(const QString& text) { return static_cast<double>(text.size()); }
} // namespace

TEST(FittedWords, ATextThatFitsStaysWhole) {
    EXPECT_EQ(FittedText::wholeWords("3 more items", 12, characters), "3 more items");
}

TEST(FittedWords, WordsDropFromTheEndAndTheFigureStays) {
    EXPECT_EQ(FittedText::wholeWords("3 more items", 11, characters), "3 more");
    EXPECT_EQ(FittedText::wholeWords("1,204 smaller files", 7, characters), "1,204");
}

TEST(FittedWords, AFigureThatDoesNotFitIsLeftOutRatherThanCut) {
    EXPECT_EQ(FittedText::wholeWords("1,204 smaller files", 4, characters), "");
    EXPECT_EQ(FittedText::wholeWords("12.4 MB", 3, characters), "");
}

TEST(FittedWords, ASeparatorIsNotLeftHanging) {
    EXPECT_EQ(FittedText::wholeWords("12.4 MB · partly read", 12, characters), "12.4 MB");
    EXPECT_EQ(FittedText::wholeWords("2.1 GB  ·  4.5%", 9, characters), "2.1 GB");
}
