#pragma once

#include <cstddef>
#include <memory>

#include "quarn/voxora/export.h"
#include "quarn/voxora/tiles/Counted.h"
#include "quarn/voxora/tiles/MemoryReservation.h"

/// A stretch of memory that data access fills. Held by reference (ref, unref, or hxvoxora::Ref). Its bytes count in the
/// memory budget.
class QUARN_VOXORA_API SoCpuBufferObject : public hxvoxora::Counted {
public:
  enum AccessMode { READ_ONLY, READ_WRITE };

  /// As setByteSize().
  explicit SoCpuBufferObject(std::size_t byteSize = 0);
  ~SoCpuBufferObject() override;

  /// Makes room for `byteSize` bytes; the content is unspecified afterwards, and mapped pointers are void. Throws
  /// McException telling the sizes when the memory budget or the system does not have so many bytes; the buffer then
  /// has none.
  void setByteSize(std::size_t byteSize);
  std::size_t getByteSize() const { return byteSize_; }

  /// The bytes. The pointer stays valid until unmap(), setByteSize() or the end of the buffer.
  void* map(AccessMode access);
  void unmap();
  bool isMapped() const { return mapCount_ > 0; }

  /// The bytes for the toolkit's own use, mapped or not.
  const std::byte* bytes() const { return bytes_.get(); }
  std::byte* bytes() { return bytes_.get(); }

private:
  hxvoxora::MemoryReservation reservation_;
  std::unique_ptr<std::byte[]> bytes_;
  std::size_t byteSize_ = 0;
  int mapCount_ = 0;
};
