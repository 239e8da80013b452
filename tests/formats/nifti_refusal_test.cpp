#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <gmock/gmock.h>
#include <limits>
#include <random>
#include <sys/stat.h>
#include <vector>

#include "quarn/base/McProgressInterface.h"
#include "quarn/formats/readNifti.h"
#include "quarn/formats/registerFormats.h"
#include "quarn/kernel/app/HxApplication.h"
#include "quarn/kernel/app/HxRecordingSink.h"
#include "quarn/kernel/io/HxFileTypes.h"
#include "quarn/kernel/objects/HxObjectPool.h"
#include "tests/formats/badInput.h"
#include "tests/formats/niftiBytes.h"
#include "tests/formats/testFiles.h"
#include "tests/support/stride.h"

namespace {

using quarn::formats::readNifti;
using ::testing::HasSubstr;
using ::testing::StartsWith;

/// A 3 x 4 x 5 volume of bytes that do not compress well.
NiftiBytes goodImage() {
  std::vector<std::uint8_t> voxels(60);
  std::minstd_rand random(1);
  for (std::uint8_t& voxel : voxels) voxel = static_cast<std::uint8_t>(random() >> 8);
  NiftiBytes bytes;
  bytes.setVoxels(voxels);
  return bytes;
}

/// The message for a file of these bytes, without the path in front.
std::string refusalOf(const std::string& bytes, const QString& name = QStringLiteral("image.nii")) {
  const TestFolder folder;
  const std::string path = folder.write(name, bytes).toStdString();
  const std::string text = refusal([&] { readNifti(QString::fromStdString(path), {}); });
  EXPECT_THAT(text, StartsWith(path + ": "));
  return text.substr(std::min(text.size(), path.size() + 2));
}

TEST(NiftiRefusal, ReadsOrRefusesWhateverComes) {
  BadInput(".nii").tryUsualFaults(goodImage().file());
  BadInput(".nii.gz").tryUsualFaults(gzipped(goodImage().file()));
}

TEST(NiftiRefusal, NamesWhatIsNoFile) {
  const TestFolder folder;
  const QString missing = folder.path(QStringLiteral("missing.nii.gz"));
  EXPECT_EQ(refusal([&] { readNifti(missing, {}); }), missing.toStdString() + ": does not exist");
  const QString itself = folder.path(QStringLiteral("."));
  EXPECT_EQ(refusal([&] { readNifti(itself, {}); }), itself.toStdString() + ": is a folder");
  const QString pipe = folder.path(QStringLiteral("pipe.nii"));
  ASSERT_EQ(mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
  EXPECT_EQ(refusal([&] { readNifti(pipe, {}); }), pipe.toStdString() + ": is not a regular file");
}

TEST(NiftiRefusal, NamesWhatIsNoImage) {
  const QString compressed = QStringLiteral("image.nii.gz");
  const std::string text = "This is a text that somebody called an image.\n";
  EXPECT_THAT(refusalOf(text, compressed), StartsWith("is not a NIfTI image: it has 46 bytes"));
  std::string longText;
  while (longText.size() < 5000) longText += text;
  EXPECT_EQ(refusalOf(longText, compressed), "is not a NIfTI image");
  EXPECT_EQ(refusalOf(gzipped(longText), compressed), "is not a NIfTI image");
  EXPECT_THAT(refusalOf(""), StartsWith("is not a NIfTI image: it has 0 bytes"));
  EXPECT_THAT(refusalOf("", compressed), StartsWith("is not a NIfTI image: it has 0 bytes"));
}

TEST(NiftiRefusal, NamesAWrongEnding) {
  EXPECT_EQ(refusalOf(gzipped(goodImage().file())), "is gzip-compressed, but its name does not end in \".gz\"");
  NiftiBytes half = goodImage();
  half.putText(344, "ni1");
  EXPECT_EQ(refusalOf(half.file()), "is one file, but its header says that it is half of a pair");
  EXPECT_EQ(refusalOf(goodImage().file(), QStringLiteral("image.hdr")),
            "is half of a pair, but its header says that it is one file");
}

TEST(NiftiRefusal, TellsWhatTheFileHoldsInstead) {
  NiftiBytes bytes = goodImage();
  bytes.setType(NiftiBytes::Rgb, 24);
  EXPECT_EQ(refusalOf(bytes.file()), "holds RGB colours; plain numbers are needed");
  bytes.setType(NiftiBytes::Complex, 64);
  EXPECT_EQ(refusalOf(bytes.file()), "holds complex numbers; plain numbers are needed");
  bytes = goodImage();
  bytes.setDimensions({3, 4, 5, 7});
  EXPECT_EQ(refusalOf(bytes.file()), "holds a series of 7 volumes; one volume is needed");
  bytes.setDimensions({3, 4, 5, 1, 3});
  EXPECT_EQ(refusalOf(bytes.file()), "holds vectors of 3 components; plain numbers are needed");
  bytes.setDimensions({12, 5});
  EXPECT_EQ(refusalOf(bytes.file()), "has 2 dimensions; a volume with 3 is needed");
}

TEST(NiftiRefusal, NamesTheHeaderField) {
  NiftiBytes bytes = goodImage();
  bytes.put<std::int32_t>(0, 540);
  EXPECT_EQ(refusalOf(bytes.file()), "is NIfTI-2; only NIfTI-1 can be read");
  bytes = goodImage();
  bytes.putText(344, "abc");
  EXPECT_EQ(refusalOf(bytes.file()), "is not a NIfTI image: its header has no NIfTI mark");
  bytes = goodImage();
  bytes.setDimensions({3, -4, 5});
  EXPECT_EQ(refusalOf(bytes.file()), "header field dim[2] is -4, which is no size");
  bytes.setDimensions({3, 4, 0});
  EXPECT_EQ(refusalOf(bytes.file()), "header field dim[3] is 0, which is no size");
  bytes.put<std::int16_t>(40, 9);
  EXPECT_EQ(refusalOf(bytes.file()), "has 9 dimensions; a volume with 3 is needed");
  bytes = goodImage();
  bytes.put<std::int16_t>(70, 77);
  EXPECT_EQ(refusalOf(bytes.file()), "header field datatype is 77, which is no known type");
  bytes = goodImage();
  bytes.put<std::int16_t>(72, 16);
  EXPECT_EQ(refusalOf(bytes.file()), "header field bitpix is 16, which does not fit the type (unsigned 8-bit)");
  for (const float offset : {-1.0F, std::numeric_limits<float>::quiet_NaN(), 1e30F}) {
    bytes = goodImage();
    bytes.put<float>(108, offset);
    EXPECT_THAT(refusalOf(bytes.file()), StartsWith("header field vox_offset is "));
  }
}

TEST(NiftiRefusal, NamesNumbersThatPlaceNoLattice) {
  NiftiBytes bytes = goodImage();
  bytes.put<float>(84, 0.0F);
  EXPECT_EQ(refusalOf(bytes.file()), "header field pixdim gives voxels a size of 0");
  bytes.put<float>(84, -2.0F);
  EXPECT_EQ(refusalOf(bytes.file()), "header field pixdim gives voxels a size of -2");
  bytes.put<float>(84, std::numeric_limits<float>::quiet_NaN());
  EXPECT_EQ(refusalOf(bytes.file()), "header field pixdim holds nan, which is out of range");
  bytes = goodImage();
  bytes.setUnturnedQuaternion({0, 1e20F, 0});
  EXPECT_EQ(refusalOf(bytes.file()), "the origin along axis 1 is -1.00000002e+20");
  bytes.setUnturnedQuaternion({0, 0, 0});
  bytes.put<float>(256, 0.9F);
  bytes.put<float>(260, 0.9F);
  EXPECT_EQ(refusalOf(bytes.file()), "header field quatern is longer than 1");
  bytes = goodImage();
  bytes.setAffine({{{1, 0, 0, 0}, {0, 1, 0, std::numeric_limits<float>::infinity()}, {0, 0, 1, 0}}});
  EXPECT_EQ(refusalOf(bytes.file()), "header field srow holds inf, which is out of range");
  bytes.setAffine({{{0, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}}});
  EXPECT_EQ(refusalOf(bytes.file()), "header field srow gives voxels a size of 0");
  bytes.setAffine({{{1, 1, 0, 0}, {1, 1, 0, 0}, {0, 0, 1, 0}}});
  EXPECT_THAT(refusalOf(bytes.file()), StartsWith("axes 0 and 1 of its lattice are not perpendicular (cosine 1"));
}

TEST(NiftiRefusal, ReadsOrRefusesAnyHeader) {
  const char* const given = std::getenv("QUARN_TEST_SEED");
  const std::uint32_t seed =
      given ? static_cast<std::uint32_t>(std::strtoul(given, nullptr, 10)) : std::random_device{}();
  SCOPED_TRACE("QUARN_TEST_SEED=" + std::to_string(seed));
  RecordProperty("seed", std::to_string(seed));
  std::mt19937 random(seed);
  const float oddFloats[] = {0.0F, -1.0F, 1e-40F, 1e-30F, 1e9F, 1e38F, std::numeric_limits<float>::quiet_NaN(), 0.5F};
  const TestFolder folder;
  const std::size_t floatOffsets[] = {76, 80, 84, 88, 108, 112, 116, 256, 260, 264, 268, 280, 284, 292, 300, 308, 320};
  ::testing::internal::CaptureStderr();
  for (int round = 0; round < testRounds(2000); ++round) {
    NiftiBytes bytes = goodImage();
    bytes.setUnturnedQuaternion({0, 0, 0});
    bytes.setAffine({{{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}}});
    for (unsigned change = random() % 4 + 1; change > 0; --change) {
      bytes.put<float>(floatOffsets[random() % std::size(floatOffsets)], oddFloats[random() % std::size(oddFloats)]);
      if (random() % 2 == 0) bytes.put<std::uint8_t>(40 + random() % 308, static_cast<std::uint8_t>(random()));
    }
    const QString file = folder.write(QStringLiteral("odd.nii"), bytes.file());
    try {
      const HxGeometry3 geometry = readNifti(file, {})->geometry();
      for (const double component : geometry.direction) EXPECT_TRUE(std::isfinite(component)) << round;
    } catch (const McException& error) {
      EXPECT_THAT(error.what(), StartsWith(file.toStdString() + ": ")) << round;
    }
  }
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
}

TEST(NiftiRefusal, RefusesHugeVolumesBeforeReadingThem) {
  NiftiBytes bytes = goodImage();
  bytes.setDimensions({32767, 32767, 32767});
  EXPECT_EQ(refusalOf(bytes.file()), "is cut: it holds 412 bytes, the header asks for 35181150962015");
  EXPECT_EQ(refusalOf(gzipped(bytes.file()), QStringLiteral("image.nii.gz")),
            "is cut: it holds 412 bytes, the header asks for 35181150962015");
}

TEST(NiftiRefusal, RefusesAPlainFileCutAtAnyByte) {
  const std::string whole = goodImage().file();
  const TestFolder folder;
  for (std::size_t length = 0; length < whole.size(); ++length) {
    const QString file = folder.write(QStringLiteral("cut.nii"), whole.substr(0, length));
    EXPECT_THAT(refusal([&] { readNifti(file, {}); }), StartsWith(file.toStdString() + ": is ")) << length;
  }
  EXPECT_NO_THROW(readNifti(folder.write(QStringLiteral("cut.nii"), whole), {}));
}

TEST(NiftiRefusal, RefusesACompressedFileCutAtAnyByte) {
  const std::string whole = gzipped(goodImage().file());
  const TestFolder folder;
  for (std::size_t length = 0; length < whole.size(); ++length) {
    const QString file = folder.write(QStringLiteral("cut.nii.gz"), whole.substr(0, length));
    EXPECT_THAT(refusal([&] { readNifti(file, {}); }), StartsWith(file.toStdString() + ": is ")) << length;
  }
  EXPECT_NO_THROW(readNifti(folder.write(QStringLiteral("cut.nii.gz"), whole), {}));
}

TEST(NiftiRefusal, RefusesAWholeStreamOfTooFewVoxels) {
  const std::string whole = goodImage().file();
  EXPECT_EQ(refusalOf(gzipped(whole.substr(0, 411)), QStringLiteral("short.nii.gz")),
            "is cut: it holds 411 bytes, the header asks for 412");
}

TEST(NiftiRefusal, FindsEveryFlippedBitOfTheCompressedVoxels) {
  const std::string whole = gzipped(goodImage().file());
  const TestFolder folder;
  constexpr std::size_t gzipHeader = 10;
  for (std::size_t i = gzipHeader; i < whole.size(); ++i) {
    std::string flipped = whole;
    flipped[i] = static_cast<char>(flipped[i] ^ 0x10);
    const QString file = folder.write(QStringLiteral("flipped.nii.gz"), flipped);
    EXPECT_THAT(refusal([&] { readNifti(file, {}); }), StartsWith(file.toStdString() + ": ")) << i;
  }
}

TEST(NiftiRefusal, RefusesARealImageThatWasCut) {
  QFile real(atlasFile(QStringLiteral("aal.nii.gz")));
  ASSERT_TRUE(real.open(QIODevice::ReadOnly));
  const std::string whole = real.readAll().toStdString();
  for (const std::size_t length :
       {std::size_t{5}, std::size_t{1000}, whole.size() / 2, whole.size() - 9, whole.size() - 1}) {
    EXPECT_THAT(refusalOf(whole.substr(0, length), QStringLiteral("aal.nii.gz")), HasSubstr("is cut")) << length;
  }
}

TEST(NiftiRefusal, RefusesOptionsThatContradictEachOther) {
  const TestFolder folder;
  const QString file = folder.write(QStringLiteral("image.nii"), goodImage().file());
  HxLoadOptions options;
  options.kind = QStringLiteral("colour");
  EXPECT_THAT(refusal([&] { readNifti(file, options); }), HasSubstr("cannot be read as \"colour\""));
  options.kind = QStringLiteral("scalar");
  options.labels = QStringLiteral("names.txt");
  EXPECT_THAT(refusal([&] { readNifti(file, options); }), HasSubstr("a scalar field, which has no label names"));
  options.labels.clear();
  options.values = {{1, 2}};
  EXPECT_THAT(refusal([&] { readNifti(file, options); }), HasSubstr("no label values can be chosen"));
}

TEST(NiftiRefusal, PrintsNothingPastTheMessages) {
  NiftiBytes bytes = goodImage();
  bytes.setAffine({{{1, 0.9F, 0, 0}, {0, 0.4F, 0, 0}, {0, 0, 1, 0}}});
  ::testing::internal::CaptureStderr();
  ::testing::internal::CaptureStdout();
  refusalOf(bytes.file());
  refusalOf(goodImage().file().substr(0, 400));
  EXPECT_EQ(::testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
}

/// Progress that counts its calls and is interrupted from a certain one on.
class InterruptingProgress : public McProgressInterface {
public:
  explicit InterruptingProgress(int interruptedFrom) : interruptedFrom_(interruptedFrom) {}

  void start(const std::string& text) override { started = text; }
  void stop() override { ++stops; }
  bool isInterrupted() override { return ++asked >= interruptedFrom_; }
  void setValue(float) override {}
  void setText(const std::string&) override {}
  void setStepCount(int) override {}
  void startStep(const std::string&) override {}
  void endStep() override {}
  void endSteps() override {}

  std::string started;
  int stops = 0;
  int asked = 0;

private:
  int interruptedFrom_;
};

TEST(NiftiProgress, StopsWhenTheUserWants) {
  const TestFolder folder;
  const QString file = folder.write(QStringLiteral("image.nii.gz"), gzipped(goodImage().file()));
  for (int from = 1; from <= 2; ++from) {
    InterruptingProgress progress(from);
    McProgressInterface* const former = HxApplication::setProgress(&progress);
    EXPECT_EQ(refusal([&] { readNifti(file, {}); }), file.toStdString() + ": reading was interrupted");
    HxApplication::setProgress(former);
    EXPECT_EQ(progress.started, "Reading image.nii.gz");
    EXPECT_EQ(progress.stops, 1);
    EXPECT_EQ(progress.asked, from);
  }
}

TEST(NiftiFileType, RegistersOnlyWhatIsWhole) {
  quarn::formats::registerFormats();
  quarn::formats::registerFormats();
  const HxRecordingSink messages;
  const TestFolder folder;
  HxFileTypes& types = HxFileTypes::instance();
  const std::size_t before = HxObjectPool::instance().objects().size();
  const QString cut = folder.write(QStringLiteral("cut.nii"), goodImage().file().substr(0, 400));
  EXPECT_THAT(refusal([&] { types.load(cut); }), HasSubstr("is cut"));
  EXPECT_EQ(HxObjectPool::instance().objects().size(), before);

  const QString good = folder.write(QStringLiteral("good.nii"), goodImage().file());
  const QStringList names = types.load(good);
  ASSERT_EQ(names.size(), 1);
  EXPECT_EQ(names.front(), QStringLiteral("good.nii"));
  HxObjectPool::instance().remove(HxObjectPool::instance().find(names.front()));
}

}  // namespace
