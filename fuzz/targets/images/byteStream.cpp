#include "quarn/kernel/io/ByteStream.h"

#include <algorithm>
#include <vector>

#include "fuzz/targets/HostScope.h"
#include "fuzz/targets/properties.h"
#include "fuzz/targets/targets.h"

namespace fuzz {

using quarn::ByteStream;

namespace {

/// More is not unpacked.
constexpr std::size_t mostBytes = std::size_t{1} << 18;

struct Content {
  std::vector<std::byte> bytes;
  std::string refusal;
};

Content contentOf(HostScope& host, ByteStream::Form form, std::size_t piece) {
  Content content;
  content.refusal = host.refusalOf([&] {
    ByteStream stream(host.file(), 0, form);
    std::vector<std::byte> buffer(piece);
    while (content.bytes.size() < mostBytes) {
      const std::size_t got = stream.read(buffer);
      require(got <= piece, "no more is read than asked for");
      content.bytes.insert(content.bytes.end(), buffer.begin(), buffer.begin() + static_cast<std::ptrdiff_t>(got));
      if (got < piece) break;
    }
  });
  return content;
}

/// One byte of several behind the first is the same when those before it are passed over.
void requireSkip(HostScope& host, ByteStream::Form form, const std::vector<std::byte>& bytes) {
  for (const std::size_t at : {bytes.size() / 2, bytes.size()}) {
    std::byte next{};
    std::size_t got = 0;
    const std::string refusal = host.refusalOf([&] {
      ByteStream stream(host.file(), 0, form);
      stream.skip(static_cast<std::int64_t>(at));
      got = stream.read({&next, 1});
    });
    require(refusal.empty(), "what can be read can be passed over");
    require(at < bytes.size() ? got == 1 && next == bytes[at] : got == 0, "bytes stand where they are read");
  }
}

}  // namespace

bool byteStream(std::span<const std::byte> input) {
  if (input.empty()) return false;
  const auto form = static_cast<ByteStream::Form>(std::to_integer<unsigned>(input.front()) % 4);
  HostScope host("bytes", input.subspan(1));
  const Content whole = contentOf(host, form, mostBytes), pieces = contentOf(host, form, 997);
  require(whole.refusal == pieces.refusal, "what is read in pieces is read as the whole is");
  if (!whole.refusal.empty()) return false;
  const std::size_t both = std::min(whole.bytes.size(), pieces.bytes.size());
  require(
      std::equal(whole.bytes.begin(), whole.bytes.begin() + static_cast<std::ptrdiff_t>(both), pieces.bytes.begin()),
      "pieces are those of the whole");
  if (whole.bytes.size() < mostBytes) {
    require(whole.bytes.size() == pieces.bytes.size(), "pieces are all of the whole");
    requireSkip(host, form, whole.bytes);
  }
  if (form == ByteStream::Form::plain)
    require(std::ranges::equal(whole.bytes, input.subspan(1)), "plain bytes are those of the file");
  return true;
}

}  // namespace fuzz
