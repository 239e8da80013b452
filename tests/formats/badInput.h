#pragma once

#include <functional>
#include <gmock/gmock.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "quarn/formats/registerFormats.h"
#include "quarn/kernel/app/HxRecordingSink.h"
#include "quarn/kernel/io/HxFileTypes.h"
#include "quarn/kernel/objects/HxObjectPool.h"
#include "tests/formats/testFiles.h"
#include "tests/support/stride.h"

/// Whatever comes under the name of an image is read or refused with a McException that names it; nothing is printed
/// past the messages, and nothing stays in the pool.
class BadInput {
public:
  explicit BadInput(const char* suffix) : name_(QStringLiteral("image") + QLatin1String(suffix)) {
    quarn::formats::registerFormats();
    ::testing::internal::CaptureStderr();
    ::testing::internal::CaptureStdout();
  }
  ~BadInput() {
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "");
  }

  const TestFolder& folder() const { return folder_; }
  QString path() const { return folder_.path(name_); }

  /// The text of the refusal of these bytes, without the path in front; empty when they are read.
  std::string outcomeOf(const std::string& bytes) const {
    folder_.write(name_, bytes);
    return outcome();
  }

  /// The same for what is there already.
  std::string outcome() const {
    const std::size_t before = HxObjectPool::instance().objects().size();
    std::string text;
    try {
      for (const QString& name : HxFileTypes::instance().load(path()))
        HxObjectPool::instance().remove(HxObjectPool::instance().find(name));
    } catch (const McException& failure) {
      text = failure.what();
      const std::string prefix = folder_.path(QString()).toStdString();
      EXPECT_THAT(text, ::testing::StartsWith(prefix));
      const std::size_t colon = text.find(": ");
      text = colon == std::string::npos ? text : text.substr(colon + 2);
      EXPECT_NE(text, "");
    }
    EXPECT_EQ(HxObjectPool::instance().objects().size(), before);
    return text;
  }

  /// Missing, a folder, a pipe, empty, other content, cut at every `step` bytes.
  void tryUsualFaults(const std::string& good, std::size_t step = 16) const {
    ::unlink(path().toStdString().c_str());
    EXPECT_NE(outcome(), "") << "missing";
    ASSERT_EQ(::mkdir(path().toStdString().c_str(), 0700), 0);
    EXPECT_NE(outcome(), "") << "folder";
    ::rmdir(path().toStdString().c_str());
    ASSERT_EQ(::mkfifo(path().toStdString().c_str(), 0600), 0);
    EXPECT_NE(outcome(), "") << "pipe";
    ::unlink(path().toStdString().c_str());
    EXPECT_NE(outcomeOf(""), "") << "empty";
    EXPECT_NE(outcomeOf(std::string(5000, '\0')), "") << "zeros";
    EXPECT_NE(outcomeOf("Some text = that is\nno image\n" + std::string(70000, 'x')), "") << "text";
    EXPECT_NE(outcomeOf("\x89PNG\r\n\x1A\n" + std::string(500, '\x7F')), "") << "another image";
    EXPECT_NE(outcomeOf(gzipped(good)), "") << "compressed as a whole";
    for (std::size_t length = 0; length < good.size(); length += step)
      EXPECT_NE(outcomeOf(good.substr(0, length)), "") << "cut at " << length;
    EXPECT_NE(outcomeOf(good.substr(0, good.size() - 1)), "") << "cut before the last byte";
    EXPECT_EQ(outcomeOf(good), "");
  }

  /// Every byte changed, in four ways: only that it is read or refused.
  void tryChangedBytes(const std::string& good, std::size_t step = 1) const {
    for (std::size_t i = 0; i < good.size(); i += step * testStride()) {
      for (const int value : {0x00, 0xFF, 0x39, good[i] ^ 0x10}) {
        std::string changed = good;
        changed[i] = static_cast<char>(value);
        outcomeOf(changed);
      }
    }
  }

private:
  QString name_;
  TestFolder folder_;
  HxRecordingSink messages_;
};

/// A text with one part exchanged for another.
inline std::string exchanged(std::string text, const std::string& part, const std::string& other) {
  const std::size_t at = text.find(part);
  EXPECT_NE(at, std::string::npos) << part;
  return at == std::string::npos ? text : text.replace(at, part.size(), other);
}

/// A header in which something is wrong, and what is said about it.
struct BadHeader {
  std::string part;
  std::string other;
  std::string refusal;
};
