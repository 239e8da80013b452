#include <QCoreApplication>
#include <optional>

#include "hxroi/HxRois.h"
#include "hxroi/detail/InterruptWatch.h"
#include "hxroi/details/Mask.h"
#include "quarn/base/McException.h"
#include "quarn/kernel/HxException.h"

using hxroi::details::Mask;

void HxRois::MaskDeleter::operator()(Mask* mask) const {
  delete mask;
}

std::vector<HxRois::MaskHolder> HxRois::splitNamedMask(const std::string& name, McProgressInterface* progress) const {
  if (masks_.size() == kMaximumNumberOfMasks) {
    throw hxException(QCoreApplication::translate(
                          "HxRois", "%1% has already reached the maximum number of allowed masks (%2%). Cannot split.")
                          .arg(getLabel(), QString::number(kMaximumNumberOfMasks)));
  }
  namedMask(name);
  // Held, since the question whether to go on may run other events.
  const McHandle<Mask> mask(getMask(name));
  std::optional<hxroi::InterruptWatch> watch;
  if (progress) watch.emplace(*progress);
  std::vector<MaskHolder> pieces;
  pieces.reserve(kMaximumNumberOfMasks + 1);  // so that nothing can fail between the split and the holders
  for (Mask* piece : mask->split(kMaximumNumberOfMasks - masks_.size(), watch ? &*watch : nullptr)) {
    pieces.emplace_back(piece);
  }
  // Some of the pieces may not be filled.
  if (watch && watch->wasInterrupted()) pieces.clear();
  return pieces;
}
