#include "quarn/view/HxSceneView.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <exception>

#include "quarn/base/McException.h"
#include "quarn/base/mcinterface_cast.h"
#include "quarn/kernel/fields/HxISetOfVolumeMask.h"
#include "quarn/kernel/fields/HxStandardColormaps.h"
#include "quarn/kernel/fields/HxUniformLabelField3.h"
#include "quarn/kernel/fields/HxUniformScalarField3.h"
#include "quarn/kernel/objects/HxObjectPool.h"
#include "quarn/view/FieldSampler.h"
#include "quarn/view/ScenePainter.h"
#include "quarn/view/SceneText.h"
#include "quarn/view/Snapshot.h"
#include "quarn/view/labelColors.h"
#include "quarn/view/maskOffers.h"

MC_CLASS_IMPL(HxSceneView, HxObject)

using quarn::view::ColorTransfer;
using quarn::view::SceneContents;
using quarn::view::VolumeMode;

namespace {

/// How opaque labels are in slices over an image.
constexpr float LABEL_TINT = 0.55f;

/// An object that is shown, and how.
struct Shown {
  HxObject* object;
  quarn::view::ImageSettings look;
  std::pair<double, double> usualRange;  ///< of the values at `usualTime`
  std::uint32_t usualTime = 0;
};

/// The lattice that slices lie in.
struct Grid {
  McDim3l dimensions;
  HxGeometry3 geometry;
};

std::string quoted(const HxObject& object) {
  return "\"" + McException::excerpt(object.describe().toStdString()) + "\"";
}

bool isDrawable(const HxObject* object) {
  return dynamic_cast<const HxUniformScalarField3*>(object) || mcinterface_cast<HxISetOfVolumeMask>(object);
}

/// The object that is drawn in its place.
const HxObject* drawnFor(const HxObject* object) {
  return isDrawable(object) ? object : quarn::view::findMaskOffer(object);
}

HxUniformScalarField3* imageOf(HxObject* object) {
  return dynamic_cast<HxUniformScalarField3*>(object);
}

bool isLabels(const HxUniformScalarField3* field) {
  return dynamic_cast<const HxUniformLabelField3*>(field) != nullptr;
}

}  // namespace

struct HxSceneView::State {
  std::vector<Shown> shown;
  quarn::view::ScenePainter painter;
  quarn::view::SceneCamera camera;
  quarn::view::Complaints complaints;
  std::array<std::optional<int>, 3> slices;
  QString layout = QStringLiteral("column");
  McColor background{0.07f, 0.08f, 0.10f};
  bool hasMarks = true;
  std::optional<Grid> lastGrid;  ///< which stays while nothing of what is shown has a lattice: masks may all be hidden

  Shown& shownImage(HxObject* object);
  ColorTransfer transferOf(Shown& item, const HxUniformScalarField3& field, bool isOverImage);
  void addImage(SceneContents& contents, Shown& item);
  void addMasks(SceneContents& contents, const Shown& item);
  void putOnGrid(SceneContents& contents, const McDim3l& dimensions, const HxGeometry3& geometry);
  std::vector<McHandle<HxObject>> objects() const;
  void bringUpToDate();
  void makeRoom(SceneContents& contents) const;
  SceneContents contents();
  std::optional<Grid> grid();
  int sliceOf(const McDim3l& dimensions, int axis) const;
};

HxSceneView::HxSceneView()
    : state_(std::make_unique<State>()),
      picture_(this, QStringLiteral("picture"), QStringLiteral("Picture"),
               {[this] { return shownEntries(); },
                [this](HxObject* object, const QString& settings) { showAs(object, settings); },
                [this] { return stateText(); }, [this](const QString& state) { return setStateText(state); }}) {
  HxObjectPool::instance().addListener(this);
}

HxSceneView::~HxSceneView() = default;

// --- What is shown

bool HxSceneView::canShow(HxObject* object) {
  return isDrawable(object) || quarn::view::newMaskOffer(object);
}

void HxSceneView::show(HxObject* object) {
  if (!object || !object->isInPool()) throw McException("Only objects of the pool can be shown.");
  HxObject* drawn = isDrawable(object) ? object : quarn::view::provideMaskOffer(object);
  if (!drawn)
    throw McException(quoted(*object) + " of class " + object->getTypeId().getName() +
                      " cannot be shown; fields of numbers and objects with masks to draw can.");
  if (isShown(drawn)) return;
  state_->shown.push_back({drawn, {}, {}, 0});
  fitCamera();
  touch();
}

void HxSceneView::hide(HxObject* object) {
  const HxObject* drawn = drawnFor(object);
  if (std::erase_if(state_->shown, [drawn](const Shown& shown) { return shown.object == drawn; }) == 0) return;
  if (state_->shown.empty()) state_->slices = {}, state_->lastGrid.reset();
  state_->complaints.forget();
  fitCamera();
  touch();
}

bool HxSceneView::isShown(const HxObject* object) const {
  const HxObject* drawn = drawnFor(object);
  return std::any_of(state_->shown.begin(), state_->shown.end(),
                     [drawn](const Shown& shown) { return shown.object == drawn; });
}

void HxSceneView::objectAboutToBeRemoved(HxObject* object) {
  hide(object);
}

QStringList HxSceneView::shownNames() const {
  QStringList names;
  for (const Shown& shown : state_->shown) names.append(shown.object->getName());
  return names;
}

Shown& HxSceneView::State::shownImage(HxObject* object) {
  for (Shown& candidate : shown)
    if (candidate.object == object && imageOf(object)) return candidate;
  throw McException(object ? quoted(*object) + " is not shown as an image." : "There is no such object.");
}

void HxSceneView::setColormap(HxObject* image, HxColormap* colormap, std::optional<std::pair<double, double>> range) {
  Shown& shown = state_->shownImage(image);
  shown.look.colormap = colormap;
  shown.look.range = range;
  touch();
}

void HxSceneView::setVolumeMode(HxObject* image, std::optional<VolumeMode> mode) {
  state_->shownImage(image).look.mode = mode;
  touch();
}

// --- How it is looked at

quarn::view::SceneCamera& HxSceneView::camera() {
  return state_->camera;
}

void HxSceneView::fitCamera() {
  state_->painter.forgetBounds();
}

void HxSceneView::setSlice(int axis, int index) {
  const std::optional<Grid> grid = state_->grid();
  if (!grid) throw McException("There is nothing to take a slice of; show an object first.");
  if (index < 0 || index >= grid->dimensions[axis])
    throw McException("There is no slice " + std::to_string(index) + " across " + "xyz"[axis] + "; they go from 0 to " +
                      std::to_string(grid->dimensions[axis] - 1) + ".");
  state_->slices[static_cast<std::size_t>(axis)] = index;
  touch();
}

int HxSceneView::slice(int axis) const {
  const std::optional<Grid> grid = state_->grid();
  if (!grid) return state_->slices[static_cast<std::size_t>(axis)].value_or(0);
  return state_->sliceOf(grid->dimensions, axis);
}

/// The middle one unless one was chosen that there is.
int HxSceneView::State::sliceOf(const McDim3l& dimensions, int axis) const {
  const auto last = static_cast<int>(dimensions[axis]) - 1;
  return std::min(slices[static_cast<std::size_t>(axis)].value_or(static_cast<int>(dimensions[axis] / 2)), last);
}

void HxSceneView::setLayout(const QString& layout) {
  if (!quarn::view::layoutNames().contains(layout))
    throw McException("There is no layout \"" + McException::excerpt(layout.toStdString()) + "\"; there are " +
                      quarn::view::layoutNames().join(QStringLiteral(", ")).toStdString() + ".");
  state_->layout = layout;
  touch();
}

QString HxSceneView::layout() const {
  return state_->layout;
}

void HxSceneView::setBackground(const McColor& color) {
  for (int channel = 0; channel < 3; ++channel)
    if (!(color[channel] >= 0 && color[channel] <= 1)) throw McException("Parts of a colour are numbers from 0 to 1.");
  state_->background = color;
  touch();
}

McColor HxSceneView::background() const {
  return state_->background;
}

void HxSceneView::setMarks(bool shown) {
  state_->hasMarks = shown;
  touch();
}

bool HxSceneView::hasMarks() const {
  return state_->hasMarks;
}

const quarn::view::SurfaceCache& HxSceneView::surfaces() const {
  return state_->painter.surfaces();
}

// --- Networks

std::vector<HxPortObjects::Entry> HxSceneView::shownEntries() const {
  std::vector<HxPortObjects::Entry> entries;
  for (const Shown& shown : state_->shown) entries.push_back({shown.object, quarn::view::textOf(shown.look)});
  return entries;
}

void HxSceneView::showAs(HxObject* object, const QString& settings) {
  const quarn::view::ImageSettings look = quarn::view::imageSettings(settings);
  show(object);
  const HxObject* drawn = drawnFor(object);
  for (Shown& shown : state_->shown)
    if (shown.object == drawn && imageOf(shown.object)) shown.look = look;
  touch();
}

/// "LAYOUT MARKS R G B X Y Z", where "-" is the middle slice, then the state of the camera.
QString HxSceneView::stateText() const {
  const McColor& color = state_->background;
  QStringList words{state_->layout, QString::number(state_->hasMarks ? 1 : 0)};
  for (int channel = 0; channel < 3; ++channel)
    words.append(QString::number(static_cast<double>(color[channel]), 'g', 9));
  for (const std::optional<int>& slice : state_->slices)
    words.append(slice ? QString::number(*slice) : QStringLiteral("-"));
  return words.join(QLatin1Char(' ')) + QLatin1Char(' ') + state_->camera.state();
}

/// Slices are those of objects that come later.
bool HxSceneView::setStateText(const QString& text) {
  const QStringList words = text.split(QLatin1Char(' '), Qt::SkipEmptyParts);
  constexpr int before = 8;  // words before those of the camera
  if (words.size() < before || !quarn::view::layoutNames().contains(words[0])) return false;
  bool isSound = words[1] == QLatin1String("0") || words[1] == QLatin1String("1");
  McColor color;
  for (int channel = 0; channel < 3; ++channel) {
    bool isNumber = false;
    color[channel] = words[2 + channel].toFloat(&isNumber);
    isSound = isSound && isNumber && color[channel] >= 0 && color[channel] <= 1;
  }
  std::array<std::optional<int>, 3> slices;
  for (int axis = 0; axis < 3; ++axis) {
    const QString& word = words[5 + axis];
    bool isNumber = true;
    if (word != QLatin1String("-")) slices[static_cast<std::size_t>(axis)] = word.toInt(&isNumber);
    isSound = isSound && isNumber && slices[static_cast<std::size_t>(axis)].value_or(0) >= 0;
  }
  if (!isSound || !state_->camera.setState(words.mid(before))) return false;
  state_->layout = words[0];
  state_->hasMarks = words[1] == QLatin1String("1");
  state_->background = color;
  state_->slices = slices;
  touch();
  return true;
}

// --- Pictures

ColorTransfer HxSceneView::State::transferOf(Shown& item, const HxUniformScalarField3& field, bool isOverImage) {
  const auto* labels = dynamic_cast<const HxUniformLabelField3*>(&field);
  if (labels && !item.look.colormap) return quarn::view::labelColors(*labels, isOverImage ? LABEL_TINT : 1);
  if (!item.look.range && item.usualTime != field.getTouchTime()) {
    item.usualRange = quarn::view::usualRange(field);
    item.usualTime = field.getTouchTime();
  }
  const HxColormap* grey = HxStandardColormaps::instance().find(QStringLiteral("grey"));
  return ColorTransfer(item.look.colormap ? *item.look.colormap : *grey,
                       item.look.range ? *item.look.range : item.usualRange, true);
}

void HxSceneView::State::putOnGrid(SceneContents& contents, const McDim3l& dimensions, const HxGeometry3& geometry) {
  if (contents.dimensions == McDim3l()) {
    contents.dimensions = dimensions;
    contents.geometry = geometry;
  }
}

void HxSceneView::State::addImage(SceneContents& contents, Shown& item) {
  HxUniformScalarField3* field = imageOf(item.object);
  if (!field || field->voxelCount() == 0) return;
  const ColorTransfer transfer = transferOf(item, *field, !contents.images.empty());
  contents.images.push_back({field, transfer, item.look.range.value_or(item.usualRange)});
  contents.modes.push_back(item.look.mode.value_or(VolumeMode::Rendered));
  putOnGrid(contents, field->latticeDimensions(), field->geometry());
}

void HxSceneView::State::addMasks(SceneContents& contents, const Shown& item) {
  const auto* set = mcinterface_cast<HxISetOfVolumeMask>(item.object);
  if (!set) return;
  contents.sets.push_back(quarn::view::readMaskSet(*set, item.object->describe(), complaints));
  const quarn::view::MaskSetLook& look = contents.sets.back();
  if (!(look.dimensions == McDim3l())) putOnGrid(contents, look.dimensions, look.geometry);
}

std::vector<McHandle<HxObject>> HxSceneView::State::objects() const {
  std::vector<McHandle<HxObject>> objects;
  for (const Shown& each : shown) objects.emplace_back(each.object);
  return objects;
}

/// Events may show and hide objects meanwhile.
void HxSceneView::State::bringUpToDate() {
  for (const McHandle<HxObject>& object : objects()) {
    try {
      quarn::view::bringMasksUpToDate(*object);
    } catch (const std::exception& failure) {
      const std::string why = McException::excerpt(failure.what());
      complaints.tell(QStringLiteral("\"%1\" is not drawn whole; its evaluation: %2")
                          .arg(object->describe(), QString::fromStdString(why)));
    }
  }
}

/// A cloud would hide the masks, and that of an image the labels.
void HxSceneView::State::makeRoom(SceneContents& contents) const {
  const bool hasLabels = std::ranges::any_of(contents.images, [](const auto& image) { return isLabels(image.field); });
  if (contents.sets.empty() && !hasLabels) return;
  std::size_t image = 0;
  for (const Shown& each : shown) {
    const HxUniformScalarField3* field = imageOf(each.object);
    if (!field || field->voxelCount() == 0) continue;
    const bool isInTheWay = !contents.sets.empty() || !isLabels(field);
    if (!each.look.mode && isInTheWay) contents.modes[image] = VolumeMode::Planes;
    ++image;
  }
}

SceneContents HxSceneView::State::contents() {
  bringUpToDate();
  SceneContents contents;
  for (Shown& each : shown) {
    addImage(contents, each);
    addMasks(contents, each);
  }
  makeRoom(contents);
  if (!(contents.dimensions == McDim3l())) {
    lastGrid = Grid{contents.dimensions, contents.geometry};
  } else if (lastGrid) {
    putOnGrid(contents, lastGrid->dimensions, lastGrid->geometry);
  } else {
    contents.dimensions = McDim3l(1, 1, 1);
  }
  for (int axis = 0; axis < 3; ++axis)
    contents.slices[static_cast<std::size_t>(axis)] = sliceOf(contents.dimensions, axis);
  contents.camera = camera;
  contents.layout = layout;
  contents.background = background;
  contents.hasMarks = hasMarks;
  return contents;
}

std::optional<Grid> HxSceneView::State::grid() {
  if (shown.empty()) return std::nullopt;
  const SceneContents all = contents();
  if (all.images.empty() && all.sets.empty()) return std::nullopt;
  return Grid{all.dimensions, all.geometry};
}

QImage HxSceneView::paint(int width, int height) {
  quarn::view::requirePictureSize(width, height);
  const SceneContents contents = state_->contents();
  // Painting reads fields and masks while its progress runs events.
  const auto held = state_->objects();
  return state_->painter.paint(contents, width, height, state_->complaints);
}

void HxSceneView::snapshot(const QString& file, int width, int height) {
  quarn::view::requirePictureSize(width, height);
  quarn::view::writeSnapshot(file, [&] { return paint(width, height); });
}
