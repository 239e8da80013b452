#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include "quarn/kernel/app/HxApplication.h"
#include "quarn/voxora/tiles/MemoryBudget.h"
#include "quarn/voxora/utilities/utilities.h"
#include "tests/kernel/TemporaryFolder.h"
#include "tests/kernel/expectMcException.h"

using ::testing::HasSubstr;

namespace {

/// Restores the variable that says where temporary files go.
class SystemTemporaryFolder {
public:
  explicit SystemTemporaryFolder(const QString& folder)
      : former_(qgetenv("TMPDIR")), wasSet_(qEnvironmentVariableIsSet("TMPDIR")) {
    qputenv("TMPDIR", folder.toUtf8());
  }
  ~SystemTemporaryFolder() {
    if (wasSet_) {
      qputenv("TMPDIR", former_);
    } else {
      qunsetenv("TMPDIR");
    }
  }

private:
  QByteArray former_;
  bool wasSet_;
};

unsigned modeOf(const QString& path) {
  struct stat status {};
  EXPECT_EQ(0, stat(path.toUtf8().constData(), &status));
  return status.st_mode & 0777;
}

QString ownFolderIn(const TemporaryFolder& folder) {
  return folder.file(QStringLiteral("quarn-%1").arg(geteuid()));
}

}  // namespace

TEST(Preferences, DefaultTemporaryFolderIsMadePrivate) {
  const TemporaryFolder system;
  const SystemTemporaryFolder variable(system.path());
  const HxPreferences preferences;
  EXPECT_EQ(ownFolderIn(system), preferences.getTemporaryDirectory());
  EXPECT_EQ(0700u, modeOf(preferences.getTemporaryDirectory()));
}

TEST(Preferences, DefaultTemporaryFolderIsClosedToOthers) {
  const TemporaryFolder system;
  const SystemTemporaryFolder variable(system.path());
  ASSERT_EQ(0, mkdir(ownFolderIn(system).toUtf8().constData(), 0777));
  ASSERT_EQ(0, chmod(ownFolderIn(system).toUtf8().constData(), 0777));
  EXPECT_EQ(0700u, modeOf(HxPreferences().getTemporaryDirectory()));
}

TEST(Preferences, PlantedLinkIsNotUsedAsTemporaryFolder) {
  const TemporaryFolder system;
  const TemporaryFolder elsewhere;
  const SystemTemporaryFolder variable(system.path());
  ASSERT_TRUE(QFile::link(elsewhere.path(), ownFolderIn(system)));
  const QString used = HxPreferences().getTemporaryDirectory();
  EXPECT_NE(ownFolderIn(system), used);
  EXPECT_TRUE(used.startsWith(ownFolderIn(system) + "-")) << used.toStdString();
  EXPECT_EQ(0700u, modeOf(used));
  EXPECT_EQ(used, HxPreferences().getTemporaryDirectory());
}

TEST(Preferences, TemporaryFolderIsTakenAsGiven) {
  HxPreferences preferences;
  preferences.setTemporaryDirectory("/nowhere/at all");
  EXPECT_EQ("/nowhere/at all", preferences.getTemporaryDirectory());
  EXPECT_THAT(textOfException([&] { preferences.setTemporaryDirectory(QString()); }), HasSubstr("Temporary Directory"));
}

TEST(Preferences, TileSizeReachesTheTiledVolumes) {
  HxPreferences preferences;
  const int former = preferences.getTileSize();
  preferences.setTileSize(128);
  EXPECT_EQ(128, preferences.getTileSize());
  EXPECT_EQ(128, hxvoxora::utilities::getDefaultTileSize());
  preferences.setTileSize(former);
}

TEST(Preferences, OtherTileSizesAreRefused) {
  HxPreferences preferences;
  const int former = preferences.getTileSize();
  for (const int size : {0, -64, 31, 48, 512})
    EXPECT_THAT(textOfException([&] { preferences.setTileSize(size); }),
                HasSubstr("\"LDA > Tile Size\": 32, 64, 128 or 256 expected, got \"" + std::to_string(size)));
  for (const char* text : {"", "64x", "6 4", "0x40", "64.0", "99999999999999999999"})
    EXPECT_THROW(preferences.set("LDA > Tile Size", text), McException) << text;
  EXPECT_EQ(former, preferences.getTileSize());
}

TEST(Preferences, MainMemoryReachesTheTiledVolumes) {
  HxPreferences preferences;
  EXPECT_EQ(hxvoxora::defaultMemoryBudget(), preferences.getMainMemory());
  const std::pair<const char*, std::size_t> cases[] = {{"700", std::size_t{700} << 20},
                                                       {" 3g ", std::size_t{3} << 30},
                                                       {"1T", std::size_t{1} << 40},
                                                       {"512K", std::size_t{1} << 19},
                                                       {"0", hxvoxora::defaultMemoryBudget()}};
  for (const auto& [text, bytes] : cases) {
    preferences.set("LDA > Main Memory", text);
    EXPECT_EQ(bytes, hxvoxora::memoryBudget()) << text;
    const QString shown = preferences.get("LDA > Main Memory");
    preferences.set("LDA > Main Memory", shown);
    EXPECT_EQ(bytes, preferences.getMainMemory()) << text;
  }
  preferences.set("LDA > Main Memory", "2G");
  EXPECT_EQ("2048", preferences.get("LDA > Main Memory"));
  preferences.setMainMemory(0);
}

TEST(Preferences, OtherMainMemoryIsRefused) {
  HxPreferences preferences;
  const std::size_t former = preferences.getMainMemory();
  for (const char* text : {"", "-1", "x", "1.5G", "1 G", "5P", "3GB", "0x10", "99999999999999999999", "99999999T"})
    EXPECT_THAT(textOfException([&] { preferences.set("LDA > Main Memory", text); }),
                HasSubstr("\"LDA > Main Memory\": a number of MiB, or a number with K, M, G or T behind it, expected, "
                          "got \"" +
                          std::string(text) + "\""));
  EXPECT_EQ(former, preferences.getMainMemory());
}

TEST(Preferences, KeysAreFoundWhateverTheirCaseAndBlanks) {
  HxPreferences preferences;
  const QString former = preferences.get("LDA > Tile Size");
  preferences.set("lda>tile  size", " 32 ");
  EXPECT_EQ("32", preferences.get(" LDA >TILE SIZE"));
  preferences.set("LDA > Tile Size", former);
}

TEST(Preferences, UnknownKeysAreNamed) {
  HxPreferences preferences;
  EXPECT_THAT(textOfException([&] { preferences.get("LDA > Colour"); }),
              HasSubstr("there is no preference \"LDA > Colour\"; there are: LDA > Main Memory, LDA > Tile Size, "
                        "Recovery Interval, Temporary Directory, Upgrade Older Files"));
  EXPECT_THROW(preferences.set("", "x"), McException);
}

TEST(Application, IsThereWithoutAWindow) {
  HxApplication* const application = HxApplication::instance();
  EXPECT_EQ(application, HxApplication::instance());
  EXPECT_EQ("quarn", application->skin()->getApplicationName());
  EXPECT_EQ("quarn", application->skin()->getCaption("Main"));
  EXPECT_EQ(nullptr, HxApplication::mainWidget());
  EXPECT_NE(nullptr, HxApplication::progress());
  EXPECT_FALSE(application->isLoadingNetwork());
  application->setLoadingNetwork(true);
  EXPECT_TRUE(application->isLoadingNetwork());
  application->setLoadingNetwork(false);
}

TEST(Preferences, OlderFilesAreAskedForUnlessTheUserSaysOtherwise) {
  HxPreferences preferences;
  EXPECT_EQ("ask", preferences.get("Upgrade Older Files"));
  EXPECT_EQ(HxPreferences::OlderFiles::Ask, preferences.getOlderFiles());
  preferences.set("upgrade older files", " Beside ");
  EXPECT_EQ(HxPreferences::OlderFiles::Beside, preferences.getOlderFiles());
  EXPECT_EQ("beside", preferences.get("Upgrade Older Files"));
  preferences.set("Upgrade Older Files", "replace");
  EXPECT_EQ(HxPreferences::OlderFiles::Replace, preferences.getOlderFiles());
  EXPECT_THAT(textOfException([&] { preferences.set("Upgrade Older Files", "always"); }),
              HasSubstr("\"Upgrade Older Files\": ask, beside or replace expected, got \"always\""));
  EXPECT_EQ(HxPreferences::OlderFiles::Replace, preferences.getOlderFiles());
}
