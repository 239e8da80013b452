#pragma once

#include <cstdint>
#include <map>
#include <string>

/// A DICOM file made by hand, element by element: one slice of 3 x 4 unsigned 16-bit pixels in a series.
class DicomBytes {
public:
  using Tag = std::uint32_t;

  static constexpr Tag syntax = 0x00020010;
  static constexpr Tag description = 0x0008103E;
  static constexpr Tag thickness = 0x00180050;
  static constexpr Tag series = 0x0020000E;
  static constexpr Tag position = 0x00200032;
  static constexpr Tag orientation = 0x00200037;
  static constexpr Tag samples = 0x00280002;
  static constexpr Tag photometric = 0x00280004;
  static constexpr Tag frames = 0x00280008;
  static constexpr Tag rows = 0x00280010;
  static constexpr Tag columns = 0x00280011;
  static constexpr Tag pixelSize = 0x00280030;
  static constexpr Tag allocated = 0x00280100;
  static constexpr Tag stored = 0x00280101;
  static constexpr Tag highBit = 0x00280102;
  static constexpr Tag sign = 0x00280103;
  static constexpr Tag intercept = 0x00281052;
  static constexpr Tag slope = 0x00281053;
  static constexpr Tag pixels = 0x7FE00010;

  explicit DicomBytes(double z = 0.0, std::uint16_t first = 0) {
    setText(syntax, "UI", "1.2.840.10008.1.2.1");
    setText(description, "LO", "Head");
    setText(series, "UI", "1.2.3");
    setText(position, "DS", "-10\\-20\\" + std::to_string(z));
    setText(orientation, "DS", "1\\0\\0\\0\\1\\0");
    setText(photometric, "CS", "MONOCHROME2");
    setText(pixelSize, "DS", "2\\0.5");
    setNumber(samples, 1);
    setNumber(rows, 4);
    setNumber(columns, 3);
    setNumber(allocated, 16);
    setNumber(stored, 16);
    setNumber(highBit, 15);
    setNumber(sign, 0);
    std::string bytes;
    for (std::uint16_t i = 0; i < 12; ++i) bytes += two(static_cast<std::uint16_t>(first + i));
    set(pixels, "OW", bytes);
  }

  void set(Tag tag, const char* representation, const std::string& value) { elements_[tag] = {representation, value}; }
  void setText(Tag tag, const char* representation, std::string text) {
    if (text.size() % 2 != 0) text += std::string(representation) == "UI" ? '\0' : ' ';
    set(tag, representation, text);
  }
  void setNumber(Tag tag, std::uint16_t number) { set(tag, "US", two(number)); }
  void remove(Tag tag) { elements_.erase(tag); }

  /// With or without the representations of the elements behind the first group.
  std::string file(bool isExplicit = true) const {
    std::string bytes = std::string(128, '\0') + "DICM";
    for (const auto& [tag, element] : elements_) {
      bytes += two(static_cast<std::uint16_t>(tag >> 16)) + two(static_cast<std::uint16_t>(tag & 0xFFFF));
      const auto length = static_cast<std::uint32_t>(element.value.size());
      if (!isExplicit && tag >> 16 != 2) {
        bytes += four(length);
      } else if (element.representation == "OW" || element.representation == "SQ" || element.representation == "UN") {
        bytes += element.representation + two(0) + four(element.isOpen ? 0xFFFFFFFFU : length);
      } else {
        bytes += element.representation + two(static_cast<std::uint16_t>(length));
      }
      bytes += element.value;
    }
    return bytes;
  }

  /// A sequence of undefined length that holds, nested, elements which are those of the image when not skipped.
  void addSequence() {
    const std::string inner = two(0x0028) + two(0x0010) + "US" + two(2) + two(999);
    const std::string item =
        two(0xFFFE) + two(0xE000) + four(0xFFFFFFFFU) + inner + two(0xFFFE) + two(0xE00D) + four(0);
    const std::string closed = two(0xFFFE) + two(0xE000) + four(static_cast<std::uint32_t>(inner.size())) + inner;
    elements_[0x00081140] = {"SQ", item + closed + two(0xFFFE) + two(0xE0DD) + four(0), true};
  }

  static std::string two(std::uint16_t number) {
    return {static_cast<char>(number & 0xFF), static_cast<char>(number >> 8)};
  }
  static std::string four(std::uint32_t number) {
    return two(static_cast<std::uint16_t>(number & 0xFFFF)) + two(static_cast<std::uint16_t>(number >> 16));
  }

private:
  struct Element {
    std::string representation;
    std::string value;
    bool isOpen = false;
  };
  std::map<Tag, Element> elements_;
};
