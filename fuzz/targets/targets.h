#pragma once

#include <cstddef>
#include <span>

/// What the fuzzers run, and the tests with the kept inputs: each function takes bytes of unknown origin through a
/// reader and checks what comes of them. A refusal (McException) is as good as a success. A property that does not
/// hold leaves as std::logic_error. Deterministic; from one thread.
namespace fuzz {

/// The text of a volume header. One that is read comes back the same when it is written and read again.
/// Returns whether it was read.
bool header(std::span<const std::byte> input);

/// One byte of options (see index.cpp), then a tile index for one of a few fixed headers. One that is read covers the
/// grid. Returns whether it was read.
bool index(std::span<const std::byte> input);

/// One byte of options (see data.cpp), then tiles or a damaged data file for one of a few fixed headers. A tile that is
/// read is clear outside the volume and comes back the same when it is written anew; damage without forged checksums
/// is always noticed. Returns whether a tile was read.
bool data(std::span<const std::byte> input);

/// The text of a ROI set file; masks "A", "B" (the same grid), "other" (another grid) and "older" (the older layout)
/// are there. One that is parsed comes back the same when it is written and parsed again. One that is loaded holds to
/// the rules of a set and is loaded the same again; one that is refused is told in one entry. A set that is found sound
/// is loaded. Nothing is written. Returns whether it was loaded. In a library of its own, as the set stands on the
/// host.
bool set(std::span<const std::byte> input);

// The following ones are in libraries of their own, as they stand on the host. Nothing is written.

/// An image file of one of the formats. It is read as itself twice with the same outcome, and as labels; a field has
/// voxels, a size and a place. Returns whether it was read.
bool nrrd(std::span<const std::byte> input);
bool metaImage(std::span<const std::byte> input);
bool nifti(std::span<const std::byte> input);
bool tiff(std::span<const std::byte> input);
bool dicom(std::span<const std::byte> input);

/// A table of label names or colours. One that can be written without losses comes back the same. Returns whether it
/// was read.
bool labelNames(std::span<const std::byte> input);

/// One byte that chooses how the rest is stored, see ByteStream::Form. It is read the same in one piece and in several,
/// and by passing bytes over. Returns whether it was read to its end.
bool byteStream(std::span<const std::byte> input);

/// A segmentation file. A set that is read holds to the rules of a set. Returns whether it was read.
bool segmentation(std::span<const std::byte> input);

/// The table of a folder of masks. One that is read comes back the same when it is written and read again. Returns
/// whether it was read.
bool maskTable(std::span<const std::byte> input);

}  // namespace fuzz
