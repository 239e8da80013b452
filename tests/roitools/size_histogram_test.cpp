#include <QStringList>
#include <gtest/gtest.h>
#include <limits>

#include "roitools/SizeHistogram.h"

namespace {

using roitools::SizeHistogram;

std::string simplified(const SizeHistogram& histogram) {
  QString text;
  for (const QString& line : histogram.toText().split('\n', Qt::SkipEmptyParts)) text += line.simplified() + "\n";
  return text.toStdString();
}

TEST(SizeHistogram, IsEmptyAtTheStart) {
  const SizeHistogram histogram;
  EXPECT_EQ(histogram.components(), 0u);
  EXPECT_EQ(histogram.voxels(), 0u);
  EXPECT_EQ(histogram.toText(), "");
}

TEST(SizeHistogram, CountsByNumberOfDigits) {
  SizeHistogram histogram;
  for (const std::uint64_t size : {2u, 9u, 5u, 1000u, 9999u, 999u}) histogram.add(size);
  EXPECT_EQ(histogram.components(), 6u);
  EXPECT_EQ(histogram.voxels(), 12014u);
  EXPECT_EQ(simplified(histogram),
            "size (voxels) components voxels\n"
            "2 - 9 3 16\n"
            "10 - 99 0 0\n"
            "100 - 999 1 999\n"
            "1000 - 9999 2 10999\n");
}

TEST(SizeHistogram, KeepsSingleVoxelsApart) {
  SizeHistogram histogram;
  histogram.add(1);
  histogram.add(1);
  EXPECT_EQ(simplified(histogram), "size (voxels) components voxels\n1 2 2\n");
}

TEST(SizeHistogram, TakesTheLargestSize) {
  SizeHistogram histogram;
  histogram.add(std::numeric_limits<std::uint64_t>::max());
  EXPECT_EQ(histogram.components(), 1u);
}

}  // namespace
