#include <QDir>
#include <QFileInfo>
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include "quarn/kernel/app/HxFileHelpers.h"
#include "tests/kernel/TemporaryFolder.h"
#include "tests/kernel/expectMcException.h"

using ::testing::HasSubstr;

TEST(FileHelpers, WritableIsAFolderInWhichAFileCanBeMade) {
  const TemporaryFolder folder;
  EXPECT_TRUE(HxFileHelpers::isWritable(folder.path()));
  EXPECT_FALSE(HxFileHelpers::isWritable(folder.file("missing")));
  EXPECT_FALSE(HxFileHelpers::isWritable(folder.write("file", "x")));
  EXPECT_FALSE(HxFileHelpers::isWritable(QString()));
  EXPECT_FALSE(HxFileHelpers::isWritable("/proc"));
  EXPECT_EQ(QStringList("file"), QDir(folder.path()).entryList(QDir::Files | QDir::Hidden));
}

TEST(FileHelpers, ReplaceFileWritesAllOrNothing) {
  const TemporaryFolder folder;
  HxFileHelpers::replaceFile(folder.file("a"), "one");
  EXPECT_EQ("one", folder.read("a"));
  HxFileHelpers::replaceFile(folder.file("a"), "two");
  EXPECT_EQ("two", folder.read("a"));
  EXPECT_EQ(QStringList("a"), QDir(folder.path()).entryList(QDir::Files | QDir::Hidden));
}

TEST(FileHelpers, ReplaceFileNamesTheFileThatCannotBeWritten) {
  const TemporaryFolder folder;
  EXPECT_THAT(textOfException([&] { HxFileHelpers::replaceFile(folder.file("no/such/folder"), "x"); }),
              HasSubstr("no/such/folder: cannot be written"));
  EXPECT_THAT(textOfException([&] { HxFileHelpers::replaceFile(folder.path(), "x"); }), HasSubstr("is a directory"));
  EXPECT_THROW(HxFileHelpers::replaceFile("/proc/nothing", "x"), McException);
}

TEST(FileHelpers, ReplaceFileFollowsLinks) {
  const TemporaryFolder folder;
  const TemporaryFolder elsewhere;
  ASSERT_TRUE(QFile::link(elsewhere.write("target", "old"), folder.file("link")));
  HxFileHelpers::replaceFile(folder.file("link"), "new");
  EXPECT_EQ("new", elsewhere.read("target"));
  EXPECT_TRUE(QFileInfo(folder.file("link")).isSymLink());
}

TEST(FileHelpers, ReplaceFileReplacesRegularFilesOnly) {
  const TemporaryFolder folder;
  ASSERT_EQ(0, mkfifo(folder.file("fifo").toUtf8().constData(), 0600));
  ASSERT_TRUE(QFile::link(folder.file("fifo"), folder.file("link")));
  for (const char* name : {"link", "fifo"})
    EXPECT_THAT(textOfException([&] { HxFileHelpers::replaceFile(folder.file(name), "x"); }),
                HasSubstr("is not a regular file, it is not replaced"));
}

TEST(FileHelpers, ReplaceFileKeepsTheOldFileWhenTheNewOneDoesNotFit) {
  const TemporaryFolder folder;
  const QString path = folder.write("a", "old");
  rlimit former{};
  ASSERT_EQ(0, getrlimit(RLIMIT_FSIZE, &former));
  const rlimit small{4096, former.rlim_max};
  const auto formerHandler = signal(SIGXFSZ, SIG_IGN);
  ASSERT_EQ(0, setrlimit(RLIMIT_FSIZE, &small));
  const std::string error = textOfException([&] { HxFileHelpers::replaceFile(path, QByteArray(1 << 20, 'x')); });
  setrlimit(RLIMIT_FSIZE, &former);
  signal(SIGXFSZ, formerHandler);
  EXPECT_THAT(error, HasSubstr("a: cannot be written: "));
  EXPECT_EQ("old", folder.read("a"));
  EXPECT_EQ(QStringList("a"), QDir(folder.path()).entryList(QDir::Files | QDir::Hidden));
}

TEST(FileHelpers, ReadFileGivesTheContent) {
  const TemporaryFolder folder;
  const QByteArray content("a\0b\r\n", 5);
  EXPECT_EQ(content, HxFileHelpers::readFile(folder.write("file", content), 5));
  EXPECT_EQ(QByteArray(), HxFileHelpers::readFile(folder.write("empty", {}), 5));
}

TEST(FileHelpers, ReadFileRefusesWhatIsNoFile) {
  const TemporaryFolder folder;
  EXPECT_THAT(textOfException([&] { HxFileHelpers::readFile(folder.file("missing"), 10); }),
              HasSubstr("missing: cannot be opened: No such file"));
  EXPECT_THAT(textOfException([&] { HxFileHelpers::readFile(folder.path(), 10); }), HasSubstr("is a directory"));
  EXPECT_THAT(textOfException([&] { HxFileHelpers::readFile(folder.write("long", "12345678901"), 10); }),
              HasSubstr("long: is too long: more than 10 bytes"));
  ASSERT_EQ(0, mkfifo(folder.file("fifo").toUtf8().constData(), 0600));
  EXPECT_THAT(textOfException([&] { HxFileHelpers::readFile(folder.file("fifo"), 10); }),
              HasSubstr("is not a regular file"));
  EXPECT_THROW(HxFileHelpers::requireReadable("/dev/zero"), McException);
}
