#include <QDir>
#include <QFile>
#include <cmath>
#include <cstring>
#include <gmock/gmock.h>
#include <limits>
#include <random>

#include "quarn/kernel/app/HxRecordingSink.h"
#include "quarn/kernel/io/QuarnMesh.h"
#include "tests/kernel/CommaLocale.h"
#include "tests/kernel/TemporaryFolder.h"
#include "tests/kernel/expectMcException.h"

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

namespace {

bool sameBits(double a, double b) {
  return std::memcmp(&a, &b, sizeof a) == 0;
}

bool sameValue(const HxParameter& a, const HxParameter& b) {
  if (a.type() != b.type()) return false;
  if (a.type() == HxParameter::Type::Real) return sameBits(*a.real(), *b.real());
  if (a.type() != HxParameter::Type::Reals) return a.value() == b.value();
  const std::vector<double> left = *a.reals();
  const std::vector<double> right = *b.reals();
  return std::equal(left.begin(), left.end(), right.begin(), right.end(), sameBits);
}

/// Names, order, types and values, all the way down.
bool sameBundle(const HxParamBundle& a, const HxParamBundle& b) {
  if (a.size() != b.size()) return false;
  for (int i = 0; i < a.size(); ++i) {
    if (a[i]->name() != b[i]->name() || a[i]->isBundle() != b[i]->isBundle()) return false;
    const bool same =
        a[i]->isBundle()
            ? sameBundle(static_cast<const HxParamBundle&>(*a[i]), static_cast<const HxParamBundle&>(*b[i]))
            : sameValue(static_cast<const HxParameter&>(*a[i]), static_cast<const HxParameter&>(*b[i]));
    if (!same) return false;
  }
  return true;
}

bool survives(const QuarnMesh& mesh) {
  return sameBundle(mesh.parameters, QuarnMesh::parse(mesh.toText(true, false), "text")->parameters);
}

std::string errorOf(const QByteArray& text) {
  return textOfException([&] { QuarnMesh::parse(text, "a.qm"); });
}

/// A whole file around the lines of `body`, without a checksum.
QByteArray around(const QByteArray& body) {
  return "# QuarnMesh 1 text quarnmesh\nparameters {\n" + body + "}\n";
}

QuarnMesh sample() {
  QuarnMesh mesh;
  mesh.parameters.set("ContentType", "HxRois");
  mesh.parameters.set("count", -3);
  mesh.parameters.set("threshold", 3.0);
  HxParamBundle* const rois = mesh.parameters.getBundle("__rois");
  HxParamBundle* const hippocampus = rois->getBundle("Hippocampus");
  const float color[3] = {1.0f, 0.1f, 1.0f / 3.0f};
  hippocampus->set("__color", 3, color);
  hippocampus->set("note", "line one\nsays \"two\" \\ \t[exec touch x] $y {");
  rois->getBundle("empty");
  mesh.parameters.set("last", "");
  return mesh;
}

}  // namespace

TEST(QuarnMesh, TextIsAsDescribed) {
  QuarnMesh mesh;
  mesh.parameters.set("ContentType", "HxRois");
  mesh.parameters.set("count", -3);
  mesh.parameters.getBundle("__rois")->set("threshold", 3.0);
  const QByteArray text = mesh.toText(true, false);
  EXPECT_THAT(text.toStdString(), StartsWith("# QuarnMesh 1 text quarnmesh\n"
                                             "parameters {\n"
                                             "  \"ContentType\" text \"HxRois\"\n"
                                             "  \"count\" integer -3\n"
                                             "  \"__rois\" {\n"
                                             "    \"threshold\" real 3.0\n"
                                             "  }\n"
                                             "}\n"
                                             "# sha256 "));
}

TEST(QuarnMesh, FlavoursDifferInTheFirstLineOnly) {
  const QuarnMesh mesh = sample();
  const auto firstLine = [](const QByteArray& text) { return text.left(text.indexOf('\n')).toStdString(); };
  EXPECT_EQ("# QuarnMesh 1 text quarnmesh", firstLine(mesh.toText(true, false)));
  EXPECT_EQ("# QuarnMesh 1 text zelto", firstLine(mesh.toText(false, false)));
  EXPECT_EQ("# QuarnMesh 1 text mivro", firstLine(mesh.toText(false, true)));
  for (const bool a : {false, true})
    for (const bool b : {false, true})
      EXPECT_TRUE(sameBundle(mesh.parameters, QuarnMesh::parse(mesh.toText(a, b), "text")->parameters));
}

TEST(QuarnMesh, WritesAndReadsAFile) {
  const TemporaryFolder folder;
  const QByteArray file = folder.file("set.ROIs.qm").toUtf8();
  const QuarnMesh mesh = sample();
  EXPECT_EQ(1, mesh.write(file.constData(), 100, nullptr, true, false));
  EXPECT_TRUE(sameBundle(mesh.parameters, QuarnMesh::read(file)->parameters));
  EXPECT_EQ(QStringList("set.ROIs.qm"), QDir(folder.path()).entryList(QDir::Files | QDir::Hidden));
}

TEST(QuarnMesh, TellsWhetherItsFileChanged) {
  const TemporaryFolder folder;
  const QString file = folder.file("set.ROIs.qm");
  QuarnMesh mesh = sample();
  ASSERT_EQ(1, mesh.write(file.toUtf8().constData(), 100, nullptr, true, false));
  EXPECT_TRUE(mesh.sourceFile().isEmpty());
  EXPECT_EQ(nullptr, mesh.readAgainIfChanged());

  const auto read = QuarnMesh::read(file);
  EXPECT_EQ(file, read->sourceFile());
  read->parameters.set("mine", 1);
  EXPECT_EQ(nullptr, read->readAgainIfChanged()) << "only the file counts";
  ASSERT_EQ(1, mesh.write(file.toUtf8().constData(), 100, nullptr, true, false));
  EXPECT_EQ(nullptr, read->readAgainIfChanged()) << "another file of the same content";

  mesh.parameters.set("new", 1);
  ASSERT_EQ(1, mesh.write(file.toUtf8().constData(), 100, nullptr, true, false));
  const auto newer = read->readAgainIfChanged();
  ASSERT_NE(nullptr, newer);
  EXPECT_TRUE(sameBundle(mesh.parameters, newer->parameters));
  EXPECT_EQ(nullptr, newer->readAgainIfChanged());
  EXPECT_TRUE(QFile::remove(file));
  EXPECT_EQ(nullptr, newer->readAgainIfChanged());
}

TEST(QuarnMesh, FailedWriteKeepsTheOldFileAndSaysWhy) {
  const TemporaryFolder folder;
  HxRecordingSink sink;
  const QuarnMesh mesh = sample();
  EXPECT_EQ(0, mesh.write(folder.file("no/such/set.qm").toUtf8().constData(), 100, nullptr, true, false));
  ASSERT_EQ(1u, sink.consoleEntries.size());
  EXPECT_THAT(sink.consoleEntries[0], HasSubstr("no/such/set.qm: cannot be written"));
  const QByteArray old = folder.write("old.qm", "old").toUtf8();
  EXPECT_EQ(0, mesh.write(old.constData(), 7, nullptr, true, false));
  EXPECT_EQ(0, mesh.write(old.constData(), 100, &sink, true, false));
  EXPECT_EQ("old", folder.read("old.qm"));
}

TEST(QuarnMesh, WhatCouldNotBeReadDoesNotReplaceAFile) {
  const TemporaryFolder folder;
  HxRecordingSink sink;
  const QByteArray old = folder.write("old.qm", "old").toUtf8();
  QuarnMesh mesh;
  HxParamBundle* bundle = &mesh.parameters;
  for (int depth = 0; depth < QuarnMesh::MAX_DEPTH; ++depth) bundle = bundle->getBundle("b");
  EXPECT_EQ(0, mesh.write(old.constData(), QuarnMesh::TEXT, nullptr, true, false));
  ASSERT_EQ(1u, sink.consoleEntries.size());
  EXPECT_THAT(sink.consoleEntries[0], HasSubstr("nested too deeply"));
  EXPECT_EQ("old", folder.read("old.qm"));
}

TEST(QuarnMesh, RealsSurviveBitForBit) {
  QuarnMesh mesh;
  const std::vector<double> reals{0.0,
                                  -0.0,
                                  1.0,
                                  -3.0,
                                  0.1,
                                  1.0 / 3.0,
                                  1e300,
                                  5e-324,
                                  1.7976931348623157e308,
                                  2.5e-17,
                                  1e22,
                                  1e23,
                                  123456789012345680.0,
                                  INFINITY,
                                  -INFINITY,
                                  NAN,
                                  double{0.1f}};
  for (std::size_t i = 0; i < reals.size(); ++i) mesh.parameters.set("r" + std::to_string(i), reals[i]);
  mesh.parameters.set("all", reals);
  mesh.parameters.set("none", std::vector<double>());
  mesh.parameters.set("one", std::vector<double>{2.0});
  EXPECT_TRUE(survives(mesh)) << mesh.toText(true, false).toStdString();
}

TEST(QuarnMesh, IntegersStayIntegers) {
  QuarnMesh mesh;
  mesh.parameters.set("a", std::numeric_limits<std::int64_t>::min());
  mesh.parameters.set("b", std::numeric_limits<std::int64_t>::max());
  mesh.parameters.set("c", 0);
  mesh.parameters.set("d", 0.0);
  EXPECT_TRUE(survives(mesh));
}

TEST(QuarnMesh, EveryByteOfATextSurvives) {
  QuarnMesh mesh;
  std::string all;
  for (int c = 0; c < 256; ++c) all += static_cast<char>(c);
  mesh.parameters.set("all", all);
  mesh.parameters.set("utf8", "\xC3\xA9 \xE2\x82\xAC \xF0\x9F\xA7\xA0");
  mesh.parameters.set("surrogate", "\xED\xA0\x80");
  mesh.parameters.set("overlong", "\xC0\x80\xE0\x80\x80\xF0\x80\x80\x80");
  mesh.parameters.set("beyond", "\xF4\x90\x80\x80\xF5\xFF");
  mesh.parameters.set("cut", "\xE2\x82");
  mesh.parameters.set("long", std::string(1 << 20, '"'));
  EXPECT_TRUE(survives(mesh));
  const QByteArray text = mesh.toText(true, false);
  EXPECT_EQ(text, QString::fromUtf8(text).toUtf8()) << "the file is not valid UTF-8";
  EXPECT_THAT(text.toStdString(), HasSubstr("text \"\xC3\xA9 \xE2\x82\xAC \xF0\x9F\xA7\xA0\""));
}

TEST(QuarnMesh, RandomTreesSurvive) {
  const char* const given = std::getenv("QUARN_TEST_SEED");
  const unsigned seed = given ? static_cast<unsigned>(std::stoul(given)) : std::random_device()();
  RecordProperty("seed", std::to_string(seed));
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937_64 random(seed);
  for (int round = 0; round < 200; ++round) {
    QuarnMesh mesh;
    HxParamBundle* bundle = &mesh.parameters;
    for (int i = 0; i < 50; ++i) {
      const std::string name = "n" + std::to_string(random() % 1000);
      std::uint64_t bits = random();
      double real = 0.0;
      std::memcpy(&real, &bits, sizeof real);
      if (std::isnan(real)) real = NAN;
      std::string text(random() % 20, '\0');
      for (char& c : text) c = static_cast<char>(random());
      switch (random() % 6) {
        case 0:
          bundle->set(name, text);
          break;
        case 1:
          bundle->set(name, static_cast<std::int64_t>(bits));
          break;
        case 2:
          bundle->set(name, real);
          break;
        case 3:
          bundle->set(name, std::vector<double>(random() % 5, real));
          break;
        case 4:
          bundle = bundle->getBundle(name);
          break;
        default:
          bundle = &mesh.parameters;
      }
    }
    ASSERT_TRUE(survives(mesh)) << mesh.toText(true, false).toStdString();
  }
}

TEST(QuarnMesh, LocaleDoesNotMatter) {
  const QByteArray plain = sample().toText(true, false);
  const CommaLocale locale;
  EXPECT_EQ(plain, sample().toText(true, false));
  EXPECT_TRUE(survives(sample()));
  EXPECT_THAT(errorOf(around("\"r\" real 1,5\n")), HasSubstr("\"1,5\""));
}

TEST(QuarnMesh, HandEditedFilesAreRead) {
  const auto mesh = QuarnMesh::parse(
      "# QuarnMesh 1 text mivro\r\n\r\nparameters {\r\n\t\"a b/c\"  integer\t5 \r\n\"r\" real 4\r\n}\r\n\r\n", "a.qm");
  int a = 0;
  ASSERT_TRUE(mesh->parameters.findNum("a_b_c", a));
  EXPECT_EQ(5, a);
  double r = 0.0;
  EXPECT_TRUE(mesh->parameters.findReal("r", r));
  EXPECT_FALSE(mesh->parameters.findNum("r", a));
  EXPECT_TRUE(QuarnMesh::parse("# QuarnMesh 1 text mivro\nparameters {\n}", "a.qm")->parameters.size() == 0);
}

TEST(QuarnMesh, CutFilesAreRefused) {
  const QByteArray text = sample().toText(true, false);
  const qsizetype wholeContent = text.lastIndexOf("}\n") + 1;
  const qsizetype checksumLine = wholeContent + 1;
  for (qsizetype length = 0; length < text.size() - 1; ++length) {
    if (length == wholeContent || length == checksumLine) continue;
    EXPECT_THROW(QuarnMesh::parse(text.left(length), "a.qm"), McException) << "cut at " << length;
  }
  EXPECT_TRUE(sameBundle(sample().parameters, QuarnMesh::parse(text.left(wholeContent), "a.qm")->parameters));
}

TEST(QuarnMesh, ChangedBytesAreFound) {
  const QByteArray text = sample().toText(true, false);
  for (qsizetype i = 0; i < text.size(); ++i) {
    QByteArray changed = text;
    changed[i] = static_cast<char>(changed[i] ^ 1);
    EXPECT_THROW(QuarnMesh::parse(changed, "a.qm"), McException) << "byte " << i;
  }
}

TEST(QuarnMesh, ErrorsNameFileLineElementAndValue) {
  EXPECT_EQ("a.qm:3: \"n\": a whole number is expected: \"12abc\"", errorOf(around("\"n\" integer 12abc\n")));
  EXPECT_EQ("a.qm:4: \"r\": a real number is expected: \"1e999\"", errorOf(around("\n\"r\" real 1e999\n")));
  EXPECT_EQ("a.qm:3: \"r\": a real number is expected: \"x\"", errorOf(around("\"r\" reals 1.0 x 2.0\n")));
  EXPECT_EQ("a.qm:3: \"t\": there is a wrong escape: \"\"\\q\"\"", errorOf(around("\"t\" text \"\\q\"\n")));
  EXPECT_EQ("a.qm:4: element \"n\" stands twice in its bundle", errorOf(around("\"n\" integer 1\n\"n\" integer 2\n")));
  EXPECT_THAT(errorOf(around("\"n\" number 1\n")),
              HasSubstr("text, integer, real, reals or { is expected: \"number\""));
}

TEST(QuarnMesh, WrongNumbersAreRefused) {
  for (const char* number : {"", "1.0", "+1", "0x10", "1,000", "1 2", "9223372036854775808", "\xD9\xA1", "--1"})
    EXPECT_THROW(QuarnMesh::parse(around("\"n\" integer " + QByteArray(number) + "\n"), "a"), McException) << number;
  for (const char* number :
       {"", "1,5", "+1.0", "0x10", "1.0.0", "1.0 2.0", "1e999", "-1e999", "1e-999", "nanny", "1.0f"})
    EXPECT_THROW(QuarnMesh::parse(around("\"n\" real " + QByteArray(number) + "\n"), "a"), McException) << number;
}

TEST(QuarnMesh, WrongTextsAreRefused) {
  for (const char* text :
       {"", "x", "\"", "\"x", "\"x\" y", "\"\\", "\"\\x1\"", "\"\\xzz\"", "\"\\x+1\"", "\"\\u0041\""})
    EXPECT_THROW(QuarnMesh::parse(around("\"t\" text " + QByteArray(text) + "\n"), "a"), McException) << text;
}

TEST(QuarnMesh, WrongFramesAreRefused) {
  EXPECT_THAT(errorOf(""), HasSubstr("not a parameter file"));
  EXPECT_THAT(errorOf("hello"), HasSubstr("not a parameter file"));
  EXPECT_THAT(errorOf("\xEF\xBB\xBF# QuarnMesh 1 text zelto\nparameters {\n}\n"), HasSubstr("not a parameter file"));
  EXPECT_THAT(errorOf("# QuarnMesh 2 text zelto\nparameters {\n}\n"),
              HasSubstr("\"version\": only 1 can be read: \"2\""));
  EXPECT_THAT(errorOf("# QuarnMesh 1 binary zelto\n"), HasSubstr("\"form\""));
  EXPECT_THAT(errorOf("# QuarnMesh 1 text other\n"), HasSubstr("\"flavour\": not known: \"other\""));
  EXPECT_THAT(errorOf("# QuarnMesh 1 text zelto more\n"), HasSubstr("too much"));
  EXPECT_THAT(errorOf("# QuarnMesh 1 text zelto\n"), HasSubstr("\"parameters {\" is expected"));
  EXPECT_THAT(errorOf(around("}\n")), HasSubstr("nothing but the checksum is expected: \"}\""));
  EXPECT_THAT(errorOf(around("") + "# sha256 00\n"), HasSubstr("the checksum does not fit the content"));
  EXPECT_THAT(errorOf(around("\"a\" {\n")), HasSubstr("cut off"));
}

TEST(QuarnMesh, NothingFollowsTheChecksum) {
  const QByteArray text = sample().toText(true, false);
  EXPECT_THAT(errorOf(text + "\"n\" integer 1\n"), HasSubstr("behind the last line"));
}

TEST(QuarnMesh, NestingIsBounded) {
  const auto nested = [](int depth) {
    return around(QByteArray("\"b\" {\n").repeated(depth) + QByteArray("}\n").repeated(depth));
  };
  EXPECT_NO_THROW(QuarnMesh::parse(nested(QuarnMesh::MAX_DEPTH - 1), "a"));
  EXPECT_THAT(errorOf(nested(QuarnMesh::MAX_DEPTH)), HasSubstr("nested too deeply, more than: \"64\""));
  EXPECT_THROW(QuarnMesh::parse(nested(10000), "a"), McException);
}

TEST(QuarnMesh, ElementsAreBounded) {
  QByteArray body;
  for (int i = 0; i < 16385; ++i) body += "\"" + QByteArray::number(i) + "\" integer 1\n";
  EXPECT_THAT(errorOf(around(body)), HasSubstr("there are too many elements"));
}

TEST(QuarnMesh, LongValuesAreCutInErrors) {
  const std::string error = errorOf(around("\"n\" integer " + QByteArray(100000, 'x') + "\n"));
  EXPECT_LT(error.size(), 300u);
  EXPECT_THAT(error, HasSubstr("xxx..."));
}

TEST(QuarnMesh, FilesThatAreNoneAreRefused) {
  const TemporaryFolder folder;
  EXPECT_THAT(textOfException([&] { QuarnMesh::read(folder.file("no.qm")); }), HasSubstr("no.qm: cannot be opened"));
  EXPECT_THAT(textOfException([&] { QuarnMesh::read(folder.path()); }), HasSubstr("is a directory"));
  QFile big(folder.file("big.qm"));
  ASSERT_TRUE(big.open(QIODevice::WriteOnly) && big.resize(QuarnMesh::MAX_BYTES + 1));
  EXPECT_THAT(textOfException([&] { QuarnMesh::read(folder.file("big.qm")); }), HasSubstr("is too long"));
}
