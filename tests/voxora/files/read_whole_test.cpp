#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <span>

#include "quarn/base/McException.h"
#include "quarn/voxora/files/MemoryFileSystem.h"
#include "quarn/voxora/files/readWhole.h"

namespace hxvoxora {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::ThrowsMessage;
using Links = FileSystem::Links;

void write(FileSystem& files, const std::string& path, const std::string& content) {
  const auto file = files.createExclusively(path, FileSystem::Access::byMask);
  file->append(std::as_bytes(std::span(content)));
  file->close();
}

TEST(ReadWhole, BringsEveryByte) {
  MemoryFileSystem files;
  const std::string content("a\0b\n", 4);
  write(files, "/set", content);
  write(files, "/empty", "");
  EXPECT_EQ(readWhole(files, "/set", 4, Links::refuse), content);
  EXPECT_EQ(readWhole(files, "/empty", 0, Links::refuse), "");
}

TEST(ReadWhole, TooLongAndMissingFilesAreNamed) {
  MemoryFileSystem files;
  write(files, "/set", "12345");
  EXPECT_THAT([&] { readWhole(files, "/set", 4, Links::refuse); },
              ThrowsMessage<McException>(AllOf(HasSubstr("/set"), HasSubstr("more than 4 bytes"))));
  EXPECT_THAT([&] { readWhole(files, "/none", 4, Links::refuse); }, ThrowsMessage<McException>(HasSubstr("/none")));
}

}  // namespace
}  // namespace hxvoxora
