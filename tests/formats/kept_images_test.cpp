#include <gtest/gtest.h>

#include "fuzz/targets/targets.h"
#include "tests/support/keptInputs.h"

namespace {

TEST(KeptInputs, Nrrd) {
  replayKeptInputs("nrrd", fuzz::nrrd);
}

TEST(KeptInputs, MetaImage) {
  replayKeptInputs("metaImage", fuzz::metaImage);
}

TEST(KeptInputs, Nifti) {
  replayKeptInputs("nifti", fuzz::nifti);
}

TEST(KeptInputs, Tiff) {
  replayKeptInputs("tiff", fuzz::tiff);
}

TEST(KeptInputs, Dicom) {
  replayKeptInputs("dicom", fuzz::dicom);
}

TEST(KeptInputs, LabelNames) {
  replayKeptInputs("labelNames", fuzz::labelNames);
}

TEST(KeptInputs, ByteStream) {
  replayKeptInputs("byteStream", fuzz::byteStream);
}

}  // namespace
