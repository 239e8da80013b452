#include <QDir>
#include <QFile>
#include <gmock/gmock.h>

#include "tests/app/Program.h"
#include "tests/support/stride.h"

using ::testing::HasSubstr;
using ::testing::Not;

/// What a user gets wrong, through the whole program: status 1, a message that names file and line of the script and
/// the thing that is wrong, nothing of the rest of the script, nothing half made.

namespace {

const QByteArray kTemplates = "/usr/share/mricron/templates";

class BadInput : public ::testing::Test {
protected:
  /// Runs `setUp`, then the one line that is wrong; the message stands behind the place of that line.
  void expectRefused(const QByteArray& setUp, const QByteArray& line, const std::string& message) {
    const Outcome outcome = program.runScript(setUp + line + "\nputs unreached\n");
    const std::string place =
        program.file("script.tcl").toStdString() + ":" + std::to_string(setUp.count('\n') + 1) + ": ";
    EXPECT_EQ(1, outcome.status) << line.constData();
    EXPECT_THAT(outcome.errors, HasSubstr(place)) << line.constData();
    EXPECT_THAT(outcome.errors, HasSubstr(message)) << line.constData();
    EXPECT_THAT(outcome.output, Not(HasSubstr("unreached"))) << line.constData();
  }

  QByteArray in(const char* name) const { return program.file(name).toUtf8(); }

  static QByteArray content(const QByteArray& path) {
    QFile file(QString::fromUtf8(path));
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << path.constData();
    return file.readAll();
  }

  /// A script that saves a set of two masks as set.ROIs.qm.
  QByteArray savedSet() const {
    return "load " + kTemplates + "/brodmann.nii.gz -as atlas -kind label -values 1-2\n" +
           "create HxUniformLabelField3ToHxRois convert\nconvert data connect atlas\nconvert doIt hit\n" +
           "convert fire\nset rois [convert getResult]\n$rois save QuarnMesh " + in("set.ROIs.qm") + "\n";
  }

  Program program;
};

}  // namespace

TEST_F(BadInput, MissingFile) {
  expectRefused("", "load " + in("none.nii.gz"), "none.nii.gz: cannot be opened");
}

TEST_F(BadInput, TextFileNamedAsAnImage) {
  program.write("text.nii.gz", "This is a letter, not a brain.\n");
  expectRefused("", "load " + in("text.nii.gz"), "text.nii.gz: ");
}

TEST_F(BadInput, CutImage) {
  const QByteArray whole = content(kTemplates + "/brodmann.nii.gz");
  for (const qsizetype length : {qsizetype{10}, whole.size() / 2, whole.size() - 1}) {
    program.write("cut.nii.gz", whole.first(length));
    expectRefused("", "load " + in("cut.nii.gz"), "cut.nii.gz: ");
  }
}

TEST_F(BadInput, WrongClass) {
  expectRefused("", "create HxNonsense thing", "HxNonsense");
}

TEST_F(BadInput, WrongPort) {
  expectRefused("create HxRois rois\n", "rois dota connect rois", "dota");
}

TEST_F(BadInput, ErrorOfTheScriptItself) {
  expectRefused("set a 1\n\n", "set b [expr {$a +}]", "missing operand");
  expectRefused("", "nonsense 1 2", "invalid command name \"nonsense\"");
}

TEST_F(BadInput, HeaderOfAMaskCutAtAnyByte) {
  ASSERT_EQ(0, program.runScript(savedSet()).status);
  const QByteArray masks = in("set.ROIs-masks");
  const QStringList headers = QDir(QString::fromUtf8(masks)).entryList({"*.ldm"});
  ASSERT_EQ(2, headers.size());
  const QByteArray path = masks + "/" + headers.first().toUtf8();
  const QByteArray whole = content(path);
  // Every length in one process; the line end behind the last element is no part of the header.
  const QByteArray loop = "set whole [read [open " + path + "]]\n" +
                          "for {set n 0} {$n < [string length [string trimright $whole]]} {incr n " +
                          QByteArray::number(qulonglong(testStride())) + "} {\n" + "  set out [open " + path +
                          " w]; puts -nonewline $out [string range $whole 0 $n-1]; close $out\n" +
                          "  if {![catch {load " + in("set.ROIs.qm") +
                          "} message]} { error \"$n bytes were loaded\" }\n" + "  if {![string match *" +
                          headers.first().toUtf8() + "* $message]} { error \"$n: $message\" }\n" +
                          "  if {[llength [objects]]} { error \"$n bytes left [objects]\" }\n}\nputs done\n";
  const Outcome outcome = program.runScript(loop);
  EXPECT_EQ(0, outcome.status) << outcome.errors;
  EXPECT_THAT(outcome.output, HasSubstr("done"));
  EXPECT_GT(whole.size(), 300);
  expectRefused("", "load " + in("set.ROIs.qm"), headers.first().toStdString());
}

TEST_F(BadInput, TargetThatCannotBeWritten) {
  expectRefused(savedSet(), "$rois save QuarnMesh /proc/none/set.ROIs.qm", "/proc/none/set.ROIs.qm");
  expectRefused(savedSet(), "$rois save QuarnMesh " + in("nowhere/set.ROIs.qm"), "nowhere");
  EXPECT_FALSE(QDir(program.file("nowhere")).exists());
}

TEST_F(BadInput, TargetThatIsAFolder) {
  ASSERT_TRUE(QDir(program.folder()).mkpath("taken.ROIs.qm"));
  expectRefused(savedSet(), "$rois save QuarnMesh " + in("taken.ROIs.qm"), "taken.ROIs.qm");
  EXPECT_FALSE(QDir(program.file("taken.ROIs-masks")).exists());
}

TEST_F(BadInput, ImageOfAnotherGrid) {
  expectRefused(savedSet() + "load " + kTemplates + "/ch2better.nii.gz -as big\ncreate HxRoiStatistics statistics\n" +
                    "statistics data connect $rois\nstatistics image connect big\nstatistics doIt hit\n",
                "statistics fire", "Mask is incompatible with data (different dimension)");
}
