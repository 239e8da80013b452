#include <gmock/gmock.h>

#include "tests/hxroi/internal/TreeTest.h"

class TreeDump : public TreeTest {
protected:
  template <class Dump>
  static std::string errorOf(Dump dump) {
    ::testing::internal::CaptureStderr();
    dump();
    return ::testing::internal::GetCapturedStderr();
  }
};

TEST_F(TreeDump, PrintsTheTree) {
  fillAndShow();
  EXPECT_EQ(errorOf([&] { model->printModel(); }),
            "//////////////////////////////\n"
            "Mask a\n"
            "Mask b\n"
            "Group group\n"
            "\tMask  c\n"
            "\tMask  d\n"
            "//////////////////////////////\n");
}

TEST_F(TreeDump, PrintsASet) {
  fillAndShow();
  EXPECT_EQ(errorOf([&] { QxRoiTreeModel::printHxRois(rois); }),
            "//////////////////////////////\n"
            "Mask a : \n"
            "Mask b : \n"
            "Group group : \n"
            "\tMask c : \n"
            "\tMask d : \n"
            "//////////////////////////////\n"
            "\n");
}

TEST_F(TreeDump, PrintsNothing) {
  const std::string rule = "//////////////////////////////\n";
  EXPECT_EQ(errorOf([] { QxRoiTreeModel(nullptr, QxRoiTreeModel::ROIS_MODULE).printModel(); }), rule + rule);
  EXPECT_EQ(errorOf([] { QxRoiTreeModel::printHxRois(nullptr); }), rule + rule + "\n");
}
