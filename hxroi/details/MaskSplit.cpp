#include <QCoreApplication>
#include <QString>
#include <algorithm>
#include <boost/iterator/counting_iterator.hpp>
#include <memory>
#include <thread>
#include <tuple>
#include <utility>

#include "hxroi/details/FillMaskFromSplit.h"
#include "hxroi/details/Mask.h"
#include "hxroi/details/SplitComponents.h"
#include "hxroi/details/SplitProgress.h"
#include "hxroi/details/TaskRunner.h"
#include "quarn/base/McEnvironment.h"
#include "quarn/base/McProgressInterface.h"
#include "quarn/kernel/app/HxMessage.h"
#include "quarn/voxora/nodes/SoVolumeMask.h"

namespace hxroi::details {

namespace {

using Labels = boost::counting_iterator<int>;
using Runner = TaskRunner<Labels, FillMaskFromSplit>;

/// How long an interruption may stay unheard.
constexpr unsigned long kPollingMilliseconds = 100;

QString translated(const char* text) {
  return QCoreApplication::translate("Mask", text);
}

void warnOfRest(unsigned long maxComponents) {
  HxMessage::warning(
      translated(
          QT_TRANSLATE_NOOP("Mask", "The number of splitted components is greater than the maximum allowed (%1)."))
          .arg(maxComponents));
}

/// The masks of a split until the caller has them.
class NewMasks {
public:
  explicit NewMasks(std::size_t count) { owned_.reserve(count); }

  void add(int label, std::unique_ptr<Mask> mask) {
    list_.emplace_back(label, mask.get());
    owned_.push_back(std::move(mask));
  }

  const FillMaskFromSplit::ComponentList& list() const { return list_; }

  std::vector<Mask*> release() {
    std::vector<Mask*> masks(owned_.size());
    std::transform(owned_.begin(), owned_.end(), masks.begin(), [](auto& mask) { return mask.release(); });
    return masks;
  }

private:
  std::vector<std::unique_ptr<Mask>> owned_;
  FillMaskFromSplit::ComponentList list_;
};

/// Cancels when the calling thread leaves by an exception, so that the thread that fills ends soon.
class CancelAtEnd {
public:
  explicit CancelAtEnd(FillMaskFromSplit::State& state) : state_(state) {}
  ~CancelAtEnd() { state_.cancel(); }
  CancelAtEnd(const CancelAtEnd&) = delete;
  CancelAtEnd& operator=(const CancelAtEnd&) = delete;

private:
  FillMaskFromSplit::State& state_;
};

void fillInThread(Labels first, Labels last, const FillMaskFromSplit& body, FillMaskFromSplit::State& state,
                  SplitProgress& progress) {
  Runner runner(first, last, body);
  const CancelAtEnd guard(state);
  runner.start();
  while (!runner.wait(kPollingMilliseconds) && !state.isCancelled()) {
    if (!progress.goOn(state.fraction())) state.cancel();
  }
  runner.wait();
  runner.rethrowFailure();
}

void fillInOrder(Labels first, Labels last, const FillMaskFromSplit& body) {
  std::for_each(first, last, body);
}

void fillMasks(const SplitComponents& split, const FillMaskFromSplit::ComponentList& masks, SplitProgress& progress) {
  if (masks.empty()) return;
  FillMaskFromSplit::State state(masks.size());
  const Labels first(std::get<0>(masks.front()));
  const Labels last(split.lastLabel() + 1);
  if (McEnvironment::getBool("MULTI_THREADED_ROIS_CREATION", true, false)) {
    fillInThread(first, last, FillMaskFromSplit(split, masks, state), state, progress);
  } else {
    const auto ask = [&progress, caller = std::this_thread::get_id()](FillMaskFromSplit::State& shared) {
      if (std::this_thread::get_id() == caller && !progress.goOn(shared.fraction())) shared.cancel();
    };
    fillInOrder(first, last, FillMaskFromSplit(split, masks, state, ask));
  }
  state.rethrowFailure();
}

/// Properties are those of the source, except for the identifier.
std::unique_ptr<Mask> makePiece(const Mask& source) {
  auto mask = makeComponentMask(source);
  mask->setColormapRange(source.colormapRange(false));
  mask->parameters().copy(source.parameters(), 0);
  return mask;
}

}  // namespace

std::vector<Mask*> Mask::split(unsigned long maxComponents, McProgressInterface* progress) const {
  SplitProgress shown(progress);
  const auto split = beginSplit(*this, maxComponents, shown);
  if (!split) return {};
  for (std::size_t count = 1; count <= split->components.size(); ++count) {
    if (!showComponents(count, shown)) return {};
  }
  shown.stop();

  if (split->hasRest) warnOfRest(maxComponents);
  shown.start(translated(QT_TRANSLATE_NOOP("Mask", "Saving splits")).toStdString());
  NewMasks masks(split->components.size() + 1);
  const int first = split->hasRest ? SplitComponents::kRestLabel : SplitComponents::kFirstLabel;
  for (int label = first; label <= split->lastLabel(); ++label) masks.add(label, makePiece(*this));
  fillMasks(*split, masks.list(), shown);
  return masks.release();
}

}  // namespace hxroi::details
