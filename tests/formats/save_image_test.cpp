#include <algorithm>
#include <gmock/gmock.h>
#include <itkMetaDataObject.h>
#include <itkMetaImageIO.h>
#include <itkNiftiImageIO.h>
#include <itkNrrdImageIO.h>
#include <sys/stat.h>
#include <type_traits>

#include "quarn/formats/registerFormats.h"
#include "quarn/formats/saveImage.h"
#include "quarn/kernel/app/HxRecordingSink.h"
#include "quarn/kernel/io/HxFileTypes.h"
#include "quarn/kernel/objects/HxObjectPool.h"
#include "quarn/voxora/files/FaultFileSystem.h"
#include "tests/formats/sampleFields.h"
#include "tests/formats/testFiles.h"
#include "tests/support/RecordingProgress.h"
#include "tests/support/stride.h"

namespace {

using hxvoxora::FaultFileSystem;
using ::testing::AnyOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

constexpr const char* suffixes[] = {".nii", ".nii.gz", ".nrrd", ".mha"};

/// Single precision is all that NIfTI has.
double toleranceOf(const QString& suffix) {
  return suffix.startsWith(QLatin1String(".nii")) ? 1e-7 : 1e-14;
}

class SaveImage : public ::testing::Test {
protected:
  SaveImage() { quarn::formats::registerFormats(); }

  QString path(const char* suffix) const { return folder.path(QStringLiteral("image") + QLatin1String(suffix)); }

  static void save(HxUniformScalarField3& field, const QString& file) {
    HxFileTypes::instance().save(&field, QString(), file);
  }

  /// Loads a file and takes the object out of the pool again.
  static McHandle<HxUniformScalarField3> load(const QString& file, const char* kind = "") {
    HxLoadOptions options;
    options.kind = QLatin1String(kind);
    const QStringList names = HxFileTypes::instance().load(file, options);
    const McHandle<HxUniformScalarField3> field =
        dynamic_cast<HxUniformScalarField3*>(HxObjectPool::instance().find(names.front()));
    HxObjectPool::instance().remove(field.get());
    return field;
  }

  QStringList files() const { return QDir(folder.path(QString())).entryList(QDir::Files, QDir::Name); }

  TestFolder folder;
  HxRecordingSink messages;
};

TEST_F(SaveImage, BringsEveryTypeBack) {
  for (const char* suffix : suffixes) {
    for (const auto& field : sampleFields()) {
      SCOPED_TRACE(std::string(suffix) + " " + HxUniformScalarField3::primTypeName(field->primType()));
      save(*field, path(suffix));
      const auto back = load(path(suffix));
      expectSameVoxels(*back, *field);
      expectGeometryNear(back->geometry(), obliqueGeometry(), toleranceOf(QLatin1String(suffix)));
      EXPECT_FALSE(field->isModified());
      EXPECT_EQ(field->getLoadCmd(), path(suffix));
    }
  }
  EXPECT_THAT(messages.consoleEntries, IsEmpty());
}

TEST_F(SaveImage, BringsExchangedAxesBackExactly) {
  const auto field = sampleField<float>(McPrimType::Float);
  for (const char* suffix : suffixes) {
    for (const HxGeometry3& geometry : {HxGeometry3(), exchangedGeometry()}) {
      field->setGeometry(geometry);
      save(*field, path(suffix));
      EXPECT_EQ(load(path(suffix))->geometry(), geometry) << suffix;
    }
  }
}

TEST_F(SaveImage, BringsTheGeometryOfMetaImagesBackBitForBit) {
  const auto field = sampleField<float>(McPrimType::Float);
  save(*field, path(".mha"));
  EXPECT_EQ(load(path(".mha"))->geometry(), obliqueGeometry());
}

TEST_F(SaveImage, BringsVolumesOfManyPiecesBack) {
  const McHandle<HxUniformScalarField3> field = new HxUniformScalarField3({301, 203, 97}, McPrimType::Int16);
  field->visitValues([&](auto* values) {
    using T = std::remove_pointer_t<decltype(values)>;
    for (std::int64_t i = 0; i < field->voxelCount(); ++i) values[i] = static_cast<T>(i * i / 1000);
  });
  for (const char* suffix : suffixes) {
    SCOPED_TRACE(suffix);
    RecordingProgress progress;
    const ProgressScope scope(progress);
    save(*field, path(suffix));
    EXPECT_GT(progress.values.size(), 3U);
    progress.values.clear();
    expectSameVoxels(*load(path(suffix)), *field);
    EXPECT_GT(progress.values.size(), 3U);
    EXPECT_TRUE(std::ranges::is_sorted(progress.values));
    EXPECT_EQ(progress.values.back(), 1.0F);
  }
}

TEST_F(SaveImage, BringsLabelsBack) {
  const auto labels = sampleLabels();
  for (const char* suffix : suffixes) {
    save(*labels, path(suffix));
    const auto back = load(path(suffix));
    EXPECT_NE(dynamic_cast<HxUniformLabelField3*>(back.get()), nullptr) << suffix;
    expectSameVoxels(*back, *labels);
    EXPECT_FALSE(labels->isModified());
    EXPECT_EQ(labels->getLoadOptions().kind, QString());
    EXPECT_EQ(dynamic_cast<HxUniformLabelField3*>(load(path(suffix), "scalar").get()), nullptr) << suffix;
  }
  EXPECT_THAT(messages.consoleEntries, IsEmpty());
}

TEST_F(SaveImage, TellsThatMaterialsStayBehind) {
  const auto labels = sampleLabels();
  labels->materials()->getBundle("Exterior");
  labels->materials()->getBundle("Bone");
  labels->setModified(1);
  save(*labels, path(".nii"));
  EXPECT_THAT(messages.consoleEntries,
              ElementsAre("image.nii: the format has no place for the names and colours of 2 materials; a label table "
                          "keeps them\n"));
  EXPECT_TRUE(labels->isModified()) << "the file does not hold all of the field";
  EXPECT_EQ(labels->getLoadCmd(), QString());
}

TEST_F(SaveImage, TellsThatValuesAreOthers) {
  const auto labels = sampleLabels();
  labels->materials()->getBundle("Exterior")->set("Id", 0);
  labels->materials()->getBundle("Bone")->set("Id", 17);
  labels->materials()->getBundle("Fat")->set("Id", 1000);
  save(*labels, path(".nii"));
  ASSERT_EQ(messages.consoleEntries.size(), 2U);
  EXPECT_EQ(messages.consoleEntries.back(),
            "image.nii: the values are those of the field; 2 of 3 labels have another \"Id\"\n");
}

/// What ITK finds in a file, as text.
template <typename ImageIO>
std::string seenByItk(const QString& file) {
  const auto io = ImageIO::New();
  io->SetFileName(file.toStdString());
  io->ReadImageInformation();
  std::string text = io->GetComponentTypeAsString(io->GetComponentType());
  for (unsigned axis = 0; axis < 3; ++axis) {
    text += " " + std::to_string(io->GetDimensions(axis)) + " " + std::to_string(io->GetSpacing(axis)) + " " +
            std::to_string(io->GetOrigin(axis));
    for (const double component : io->GetDirection(axis)) text += " " + std::to_string(component);
  }
  itk::ImageIORegion region(3);
  for (unsigned axis = 0; axis < 3; ++axis) region.SetSize(axis, io->GetDimensions(axis));
  io->SetIORegion(region);
  std::vector<std::int16_t> voxels(60);
  io->Read(voxels.data());
  return text + " " + std::to_string(voxels[0]) + " " + std::to_string(voxels[1]) + " " + std::to_string(voxels[59]);
}

TEST_F(SaveImage, IsReadByTheToolkitAlike) {
  const auto field = sampleField<std::int16_t>(McPrimType::Int16);
  for (const char* suffix : suffixes) save(*field, path(suffix));
  const std::string expected =
      "short 3 0.700000 -90.100000 0.866025 0.500000 0.000000 4 1.100000 125.300000 -0.500000 0.866025 0.000000 5 "
      "3.300000 -71.700000 0.000000 0.000000 -1.000000 -32768 3 32767";
  EXPECT_EQ(seenByItk<itk::MetaImageIO>(path(".mha")), expected);
  EXPECT_EQ(seenByItk<itk::NrrdImageIO>(path(".nrrd")), expected);
  EXPECT_EQ(seenByItk<itk::NiftiImageIO>(path(".nii")).substr(0, 7), expected.substr(0, 7));
  EXPECT_EQ(seenByItk<itk::NiftiImageIO>(path(".nii.gz")), seenByItk<itk::NiftiImageIO>(path(".nii")));
}

template <typename ImageIO>
std::string intentSeenByItk(const QString& file) {
  const auto io = ImageIO::New();
  io->SetFileName(file.toStdString());
  io->ReadImageInformation();
  std::string intent;
  itk::ExposeMetaData<std::string>(io->GetMetaDataDictionary(), "intent_code", intent);
  return intent;
}

TEST_F(SaveImage, MarksLabelsAsTheToolkitDoes) {
  const auto labels = sampleLabels();
  const auto image = sampleField<std::uint8_t>(McPrimType::Uint8);
  for (const char* suffix : suffixes) save(*labels, path(suffix));
  EXPECT_EQ(intentSeenByItk<itk::NiftiImageIO>(path(".nii")), "1002");
  EXPECT_EQ(intentSeenByItk<itk::NrrdImageIO>(path(".nrrd")), "1002");
  EXPECT_EQ(intentSeenByItk<itk::MetaImageIO>(path(".mha")), "1002");
  for (const char* suffix : suffixes) save(*image, path(suffix));
  EXPECT_EQ(intentSeenByItk<itk::NiftiImageIO>(path(".nii")), "0");
  EXPECT_EQ(intentSeenByItk<itk::NrrdImageIO>(path(".nrrd")), "");
  EXPECT_EQ(intentSeenByItk<itk::MetaImageIO>(path(".mha")), "");
}

TEST_F(SaveImage, WritesTheSameGeometryTwiceIntoNifti) {
  // Without the matrix, a reader takes the quaternion.
  for (const HxGeometry3& geometry : {HxGeometry3(), obliqueGeometry(), exchangedGeometry()}) {
    const auto field = sampleField<std::uint8_t>(McPrimType::Uint8);
    field->setGeometry(geometry);
    save(*field, path(".nii"));
    QFile file(path(".nii"));
    ASSERT_TRUE(file.open(QIODevice::ReadWrite));
    ASSERT_TRUE(file.seek(254));
    ASSERT_EQ(file.write("\0\0", 2), 2);
    file.close();
    expectGeometryNear(load(path(".nii"))->geometry(), geometry, 1e-6);
  }
}

TEST_F(SaveImage, RefusesWhatWouldNotReadBack) {
  const McHandle<HxUniformScalarField3> empty = new HxUniformScalarField3();
  const auto sheared = sampleField<float>(McPrimType::Float);
  HxGeometry3 geometry;
  geometry.direction[1] = 0.5;
  sheared->setGeometry(geometry);
  const McHandle<HxUniformScalarField3> wide = new HxUniformScalarField3({40000, 1, 1}, McPrimType::Uint8);
  for (const char* suffix : suffixes) {
    EXPECT_THAT(refusal([&] { save(*empty, path(suffix)); }), HasSubstr(": cannot hold a field without voxels"));
    EXPECT_THAT(refusal([&] { save(*sheared, path(suffix)); }), HasSubstr("the length of the direction along axis 1"));
  }
  EXPECT_THAT(refusal([&] { save(*wide, path(".nii")); }), HasSubstr("at most 32767 voxels along an axis"));
  EXPECT_THAT(files(), IsEmpty());
}

TEST_F(SaveImage, GivesNobodyMoreRightsThanBefore) {
  const auto field = sampleField<float>(McPrimType::Float);
  const std::string file = path(".mha").toStdString();
  const mode_t former = ::umask(0002);
  const std::pair<mode_t, mode_t> modes[] = {{0600, 0600}, {0640, 0640}, {0660, 0660}, {0666, 0664}, {0604, 0604}};
  save(*field, path(".mha"));
  struct stat status {};
  ASSERT_EQ(::stat(file.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0664U) << "a new file";
  for (const auto& [before, after] : modes) {
    ASSERT_EQ(::chmod(file.c_str(), before), 0);
    save(*field, path(".mha"));
    ASSERT_EQ(::stat(file.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, after);
  }
  EXPECT_EQ(::umask(former), 0002U);
}

TEST_F(SaveImage, RefusesWhatSinglePrecisionWouldCarryOverALimit) {
  const auto field = sampleField<float>(McPrimType::Float);
  HxGeometry3 geometry;
  geometry.voxelSize = {1e-6, 1e-6, 1e-6};
  field->setGeometry(geometry);
  save(*field, path(".mha"));
  EXPECT_EQ(load(path(".mha"))->geometry(), geometry);
  EXPECT_THAT(refusal([&] { save(*field, path(".nii")); }), HasSubstr("the voxel size along axis 0 is 9.99999997"));
  geometry = HxGeometry3();
  geometry.voxelSize = {0.7, 0.7, 0.7};
  geometry.direction[1] = 0.0000999999999;
  field->setGeometry(geometry);
  save(*field, path(".mha"));
  EXPECT_EQ(load(path(".mha"))->geometry(), geometry);
  EXPECT_THAT(refusal([&] { save(*field, path(".nii")); }), HasSubstr("are not perpendicular (cosine 0.000100000004"));
}

TEST_F(SaveImage, KeepsDirectionsThatAreAlmostZero) {
  const auto field = sampleField<float>(McPrimType::Float);
  HxGeometry3 geometry;
  geometry.direction[1] = 3.7493994566546440e-33;
  field->setGeometry(geometry);
  save(*field, path(".nii"));
  expectGeometryNear(load(path(".nii"))->geometry(), geometry, 1e-7);
}

TEST_F(SaveImage, ReplacesOnlyImagesOfItsKind) {
  const auto field = sampleField<float>(McPrimType::Float);
  HxFileTypes& types = HxFileTypes::instance();
  EXPECT_THAT(refusal([&] { types.save(field.get(), QStringLiteral("NIfTI"), folder.path(QStringLiteral("a.hdr"))); }),
              HasSubstr("must end in \".nii\""));
  EXPECT_THAT(refusal([&] { types.save(field.get(), QStringLiteral("NRRD"), path(".mha")); }), HasSubstr(".nrrd"));
  EXPECT_THAT(refusal([&] { types.save(field.get(), QString(), folder.path(QStringLiteral("a.txt"))); }),
              HasSubstr("no format fits the file name"));
  const QString other = folder.write(QStringLiteral("other.nrrd"), "of somebody else");
  ASSERT_EQ(::mkdir(path(".mha").toStdString().c_str(), 0700), 0);
  EXPECT_THAT(refusal([&] { save(*field, path(".mha")); }), HasSubstr("is a folder"));
  ASSERT_EQ(::symlink(other.toStdString().c_str(), path(".nrrd").toStdString().c_str()), 0);
  EXPECT_THAT(refusal([&] { save(*field, path(".nrrd")); }), AnyOf(HasSubstr("kind"), HasSubstr("not a regular file")));
}

TEST_F(SaveImage, KeepsTheOldFileWhateverCallFails) {
  const auto former = sampleField<std::uint16_t>(McPrimType::Uint16);
  const auto latter = sampleField<std::int16_t>(McPrimType::Int16);
  for (const char* suffix : suffixes) {
    for (const bool goesOn : {false, true}) {
      std::uint64_t call = 1;
      for (bool hasFailed = true; hasFailed; call += testStride()) {
        SCOPED_TRACE(std::string(suffix) + " call " + std::to_string(call));
        save(*former, path(suffix));
        latter->touch(8);
        FaultFileSystem files(hxvoxora::FileSystem::posix());
        files.arm({.call = call,
                   .extent = goesOn ? FaultFileSystem::Extent::forever : FaultFileSystem::Extent::once,
                   .writtenBytes = 10});
        std::string failure;
        {
          const hxvoxora::FileSystemOverride current(files);
          try {
            save(*latter, path(suffix));
          } catch (const McException& refusal) {
            failure = refusal.what();
          }
        }
        hasFailed = files.hasFailed();
        EXPECT_EQ(latter->isModified(), !failure.empty()) << failure;
        EXPECT_THAT(failure, AnyOf("", StartsWith(path(suffix).toStdString() + ": ")));
        const bool isSaved = failure.empty() || failure.find("was saved, but") != std::string::npos;
        expectSameVoxels(*load(path(suffix)), isSaved ? *latter : *former);
        EXPECT_TRUE(goesOn || this->files().size() == 1) << failure;
        if (HasFailure()) return;
      }
      EXPECT_GT(call, 8U);
      QFile::remove(path(suffix));
    }
  }
  EXPECT_THAT(files(), IsEmpty()) << "the last save to each name clears away what the ones before could not remove";
}

TEST_F(SaveImage, StopsWhenTheUserWants) {
  const auto former = sampleField<std::uint16_t>(McPrimType::Uint16);
  const auto latter = sampleField<std::int16_t>(McPrimType::Int16);
  for (const char* suffix : suffixes) {
    save(*former, path(suffix));
    for (int after = 0; after < 2; ++after) {
      RecordingProgress progress;
      progress.interruptAfter = after;
      const ProgressScope scope(progress);
      EXPECT_EQ(refusal([&] { save(*latter, path(suffix)); }),
                path(suffix).toStdString() + ": writing was interrupted, nothing has changed there");
      EXPECT_THAT(progress.calls, ElementsAre(std::string("start Writing image") + suffix, "stop"));
    }
    expectSameVoxels(*load(path(suffix)), *former);
    QFile::remove(path(suffix));
  }
  EXPECT_THAT(files(), IsEmpty());
}

/// Changes a field when it is asked whether to go on.
class ChangingProgress : public RecordingProgress {
public:
  explicit ChangingProgress(HxUniformScalarField3& field) : field_(field) {}

  bool isInterrupted() override {
    field_.resize({1, 1, 1}, McPrimType::Uint8);
    return false;
  }

private:
  HxUniformScalarField3& field_;
};

TEST_F(SaveImage, RefusesAFieldThatChangesMeanwhile) {
  for (const char* suffix : suffixes) {
    const auto field = sampleField<double>(McPrimType::Double);
    ChangingProgress progress(*field);
    const ProgressScope scope(progress);
    EXPECT_THAT(refusal([&] { save(*field, path(suffix)); }), HasSubstr("was changed while it was saved"));
  }
  EXPECT_THAT(files(), IsEmpty());
}

TEST_F(SaveImage, RemovesWhatKilledSavesLeft) {
  const auto field = sampleField<float>(McPrimType::Float);
  folder.write(QStringLiteral("image.mha~0123456789abcdef"), "half");
  folder.write(QStringLiteral("image.mha~0123456789abcdeg"), "of somebody else");
  folder.write(QStringLiteral("other.mha~0123456789abcdef"), "of another image");
  save(*field, path(".mha"));
  EXPECT_EQ(files(), QStringList({"image.mha", "image.mha~0123456789abcdeg", "other.mha~0123456789abcdef"}));
}

}  // namespace
