#include <QDir>
#include <QFile>
#include <gmock/gmock.h>

#include "tests/app/Program.h"

#define TEMPLATES "/usr/share/mricron/templates"

using ::testing::AllOf;
using ::testing::ContainsRegex;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

namespace {

/// A set of two masks, saved by the program.
class Verify : public ::testing::Test {
protected:
  Verify() : set(program.file("set.ROIs.qm")) {
    const Outcome made = program.runScript(
        "load " TEMPLATES
        "/brodmann.nii.gz -as atlas -kind label -values 1-2\n"
        "create HxUniformLabelField3ToHxRois convert\nconvert data connect atlas\nconvert doIt hit\nconvert fire\n"
        "[convert getResult] save QuarnMesh {" +
        set.toUtf8() + "}\n");
    EXPECT_EQ(0, made.status) << made.errors;
  }

  Outcome verify(const QStringList& options = {}) const { return program.run(QStringList{"--verify", set} + options); }

  Program program;
  const QString set;
};

}  // namespace

TEST_F(Verify, TellsOfEverySoundMask) {
  const Outcome outcome = verify();
  EXPECT_EQ(0, outcome.status) << outcome.errors;
  EXPECT_THAT(outcome.output, AllOf(ContainsRegex("sound  [^\n]*: 181 x 217 x 181 voxels, [0-9]+ set"),
                                    EndsWith("set.ROIs.qm: all sound\n"), Not(HasSubstr("WRONG"))));
  EXPECT_THAT(verify({"--quiet"}).output, IsEmpty());
}

TEST_F(Verify, NamesWhatIsDamaged) {
  const QString folder = program.file("set.ROIs-masks");
  const QString victim = QDir(folder).entryList({"*.dat"}).first();
  QFile data(folder + "/" + victim);
  ASSERT_TRUE(data.open(QIODevice::ReadWrite));
  ASSERT_TRUE(data.seek(data.size() / 2));
  const char byte = data.peek(1).at(0);
  data.write(QByteArray(1, static_cast<char>(byte ^ 1)));
  data.close();
  const Outcome outcome = verify({"--quiet"});
  EXPECT_EQ(1, outcome.status);
  EXPECT_THAT(outcome.output, AllOf(HasSubstr("WRONG  ROI \""), HasSubstr(victim.toStdString()), HasSubstr(": tile "),
                                    EndsWith("set.ROIs.qm: 1 wrong\n")));
}

TEST_F(Verify, FilesThatCannotBeCheckedAreWrong) {
  const QString text = program.write("notes.txt", "x");
  const Outcome outcome = program.run({"--verify", set, text, program.file("missing.ROIs.qm")});
  EXPECT_EQ(1, outcome.status);
  EXPECT_THAT(outcome.output, AllOf(HasSubstr("set.ROIs.qm: all sound\n"), HasSubstr("notes.txt: only parameter files"),
                                    HasSubstr("missing.ROIs.qm: 1 wrong\n")));
}

TEST_F(Verify, FindsTheSetThatAFieldWasNotSavedOver) {
  const QString field = program.file("a.field.qm");
  const std::string refusal = ": is there and holds something of another kind; remove it first, or take another name";
  const Outcome outcome = program.runScript("load " TEMPLATES
                                            "/brodmann.nii.gz -as atlas -kind label -values 1-2\n"
                                            "atlas save {" +
                                            field.toUtf8() +
                                            "}\n"
                                            "puts [catch {atlas save {" +
                                            set.toUtf8() +
                                            "}} why]\nputs $why\n"
                                            "load {" +
                                            set.toUtf8() +
                                            "} -as rois\n"
                                            "puts [catch {rois save QuarnMesh {" +
                                            field.toUtf8() + "}} why]\nputs $why\n");
  EXPECT_EQ(0, outcome.status) << outcome.errors;
  EXPECT_THAT(outcome.output, HasSubstr("1\n" + set.toStdString() + refusal));
  EXPECT_THAT(outcome.output, HasSubstr("1\n" + field.toStdString() + refusal));
  EXPECT_EQ(0, verify().status);
  EXPECT_EQ(0, program.run({"--verify", field}).status);
}
