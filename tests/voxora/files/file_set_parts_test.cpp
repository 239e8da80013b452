#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "quarn/base/McException.h"
#include "quarn/voxora/files/MemoryFileSystem.h"
#include "quarn/voxora/files/TiledFileWriter.h"
#include "quarn/voxora/files/fileSetParts.h"

namespace {

using namespace hxvoxora;
using ::testing::HasSubstr;
using ::testing::ThrowsMessage;

class FileSetParts : public ::testing::Test {
protected:
  VolumeHeader save(const std::string& ldmPath) {
    VolumeHeader header;
    header.dimensions = {40, 20, 10};
    header.tileDimensions = {32, 8, 8};
    TiledFileWriter writer(files_, ldmPath, header);
    writer.commit();
    return VolumeHeader::read(files_, ldmPath);
  }

  MemoryFileSystem files_;
};

}  // namespace

TEST_F(FileSetParts, AsideNamesEndInTheGeneration) {
  EXPECT_EQ(asideName("/d/a.dat", 0x12abU), "/d/a.dat~00000000000012ab");
}

TEST_F(FileSetParts, FilesAreFoundWhereTheyAre) {
  const VolumeHeader header = save("a.ldm");
  EXPECT_EQ(openDataFile(files_, "a.ldm", header)->path(), "a.dat");
  EXPECT_EQ(openIndexFile(files_, "a.ldm", header)->path(), "a.fcp");
  for (const char* name : {"a.dat", "a.fcp"}) files_.rename(name, asideName(name, header.generation));
  EXPECT_EQ(openDataFile(files_, "a.ldm", header)->path(), asideName("a.dat", header.generation));
  EXPECT_EQ(openIndexFile(files_, "a.ldm", header)->path(), asideName("a.fcp", header.generation));
}

TEST_F(FileSetParts, FilesOfAnotherSaveAreRefused) {
  const VolumeHeader header = save("a.ldm");
  save("b.ldm");
  for (const char* extension : {".dat", ".fcp"})
    files_.rename(std::string("b") + extension, std::string("a") + extension);
  EXPECT_THAT([&] { openDataFile(files_, "a.ldm", header); },
              ThrowsMessage<McException>(HasSubstr("a.dat: generation")));
  EXPECT_THAT([&] { openIndexFile(files_, "a.ldm", header); },
              ThrowsMessage<McException>(HasSubstr("a.fcp: generation")));
}
