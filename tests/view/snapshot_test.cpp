#include "quarn/view/Snapshot.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include "quarn/base/McException.h"
#include "quarn/kernel/script/HxInterpreter.h"
#include "tests/app/Program.h"
#include "tests/view/ViewTest.h"

namespace {

class SnapshotTest : public ViewTest {
protected:
  SnapshotTest() {
    masks->add("a", RED, ball(20, 32, 32, 10));
    view->show(masks);
  }

  QString file(const char* name) const { return folder.filePath(QLatin1String(name)); }
  std::string run(const QString& script) {
    const auto error = HxInterpreter::instance().evaluate(script);
    return error ? "error: " + error->message.toStdString() : HxInterpreter::instance().result().toStdString();
  }

  QTemporaryDir folder;
};

TEST_F(SnapshotTest, IsThePictureThatIsPainted) {
  view->snapshot(file("a.png"), 131, 77);
  const QImage read(file("a.png"));
  EXPECT_EQ(QSize(131, 77), read.size());
  EXPECT_EQ(0, largestDifference(read, view->paint(131, 77)));
  EXPECT_EQ(QStringList{"a.png"}, QDir(folder.path()).entryList(QDir::Files));
}

TEST_F(SnapshotTest, RefusesSizesThatArePossibleForNobody) {
  for (const auto& [width, height] : {std::pair(0, 5), std::pair(5, -1), std::pair(8193, 5), std::pair(5, 2147483647)})
    EXPECT_THROW(view->snapshot(file("a.png"), width, height), McException) << width << ' ' << height;
  EXPECT_TRUE(QDir(folder.path()).isEmpty());
}

TEST_F(SnapshotTest, RefusesAPlaceThatCannotBeWrittenBeforeItPaints) {
  bool painted = false;
  const auto paintIt = [&] {
    painted = true;
    return QImage(1, 1, QImage::Format_RGB32);
  };
  EXPECT_THROW(quarn::view::writeSnapshot(file("no/such/folder.png"), paintIt), McException);
  EXPECT_THROW(quarn::view::writeSnapshot(file("a.jpg"), paintIt), McException);
  ASSERT_TRUE(QDir(folder.path()).mkdir("b.png"));
  EXPECT_THROW(quarn::view::writeSnapshot(file("b.png"), paintIt), McException);
  EXPECT_FALSE(painted);
}

TEST_F(SnapshotTest, KeepsTheFormerFileWhenPaintingFails) {
  view->snapshot(file("a.png"), 16, 16);
  const auto fail = []() -> QImage { throw McException("no"); };
  EXPECT_THROW(quarn::view::writeSnapshot(file("a.png"), fail), McException);
  EXPECT_EQ(QSize(16, 16), QImage(file("a.png")).size());
  EXPECT_EQ(QStringList{"a.png"}, QDir(folder.path()).entryList(QDir::Files));
}

TEST_F(SnapshotTest, CommandsSayWhatTheyWant) {
  EXPECT_EQ("masks", run("view shown"));
  EXPECT_EQ("error: There is no object \"nobody\".", run("view show nobody"));
  EXPECT_EQ(
      "error: \"view\" of class HxSceneView cannot be shown; fields of numbers and objects with masks to draw can.",
      run("view show view"));
  EXPECT_EQ("error: There is no slice 64 across x; they go from 0 to 63.", run("view slice x 64"));
  EXPECT_EQ("error: A slice lies across x, y or z, not \"w\".", run("view slice w 1"));
  EXPECT_EQ("error: \"1.5\" is not a whole number.", run("view slice x 1.5"));
  EXPECT_EQ("error: There is no layout \"five\"; there are column, four, space, x, y, z.", run("view layout five"));
  EXPECT_EQ("error: Parts of a colour are numbers from 0 to 1.", run("view background 0 0 2"));
  EXPECT_EQ("error: A picture has from 1 to 8192 pixels along each side, not 0 x 9.",
            run("view snapshot " + file("a.png") + " 0 9"));
  EXPECT_EQ("error: A factor is above 0, not \"0\".", run("view camera zoom 0"));
  EXPECT_EQ("error: \"masks\" is not shown as an image.", run("view volume masks off"));
}

TEST_F(SnapshotTest, CommandsDoIt) {
  EXPECT_EQ("32", run("view slice y"));
  EXPECT_EQ("7", run("view slice y 7; view slice y"));
  EXPECT_EQ("four", run("view layout four; view layout"));
  EXPECT_EQ("0.5 0.25 1.0", run("view background 0.5 0.25 1; view background"));
  EXPECT_EQ("1", run("view camera azimuth 30; set s [view camera getState]; view camera top; view camera setState $s; "
                     "string equal $s [view camera getState]"));
  EXPECT_EQ("", run("view snapshot " + file("c.png") + " 40 30"));
  EXPECT_EQ(QSize(40, 30), QImage(file("c.png")).size());
  EXPECT_EQ("", run("view hide masks; view shown"));
  EXPECT_EQ("error: \"masks\" is not shown.", run("view hide masks"));
}

TEST(SnapshotProgram, SaysThatThereIsNoOpenGL) {
  Program program;
  program.environment.insert("__EGL_VENDOR_LIBRARY_FILENAMES", "/nonexistent.json");
  const Outcome outcome = program.run({"--command", "create HxSceneView v; v snapshot a.png 20 20"});
  EXPECT_EQ(1, outcome.status);
  EXPECT_NE(std::string::npos, outcome.errors.find("No picture can be drawn: there is no OpenGL driver"))
      << outcome.errors;
  EXPECT_FALSE(QFile::exists(program.file("a.png")));
}

TEST(SnapshotProgram, DrawsFilesIntoAPicture) {
  Program program;
  const Outcome empty = program.run({"--snapshot", "a.png"});
  EXPECT_EQ(1, empty.status);
  EXPECT_NE(std::string::npos, empty.errors.find("--snapshot: FILE is missing")) << empty.errors;
  program.write("g.nrrd", "NRRD0004\ntype: uint8\ndimension: 3\nsizes: 2 2 2\nencoding: raw\n\n" +
                              QByteArray("\x01\x50\x20\x7f\x30\x40\x50\x60", 8));
  const Outcome outcome = program.run({"--snapshot", "a.png", "g.nrrd"});
  EXPECT_EQ(0, outcome.status) << outcome.errors;
  EXPECT_EQ(QSize(1600, 1080), QImage(program.file("a.png")).size());
  const Outcome refused = program.run({"--snapshot", "no/such/a.png", "g.nrrd"});
  EXPECT_EQ(1, refused.status);
}

}  // namespace
