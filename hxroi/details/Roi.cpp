#include "hxroi/details/Roi.h"

#include <QCoreApplication>
#include <QString>
#include <boost/uuid/random_generator.hpp>
#include <boost/uuid/uuid_io.hpp>
#include <cstddef>
#include <memory>
#include <mutex>

#include "hxroi/HxRois.h"
#include "hxroi/details/Group.h"
#include "quarn/base/McMutex.h"
#include "quarn/base/McTimeStamp.h"
#include "quarn/kernel/HxException.h"
#include "quarn/kernel/fields/HxColormap.h"
#include "quarn/kernel/params/HxParameter.h"
#include "quarn/kernel/script/HxCommands.h"

namespace hxroi::details {

namespace {

constexpr const char* kIdKey = "Id";
constexpr std::uint32_t kNoTouchTime = 0xFFFFFFFF;

QString translated(const char* text) {
  return QCoreApplication::translate("Roi", text);
}

std::uint64_t nextTimeStamp() {
  return McTimeStamp<Roi>::s_nextTimeStamp++;
}

std::uint32_t touchTimeOf(const HxColormap* colormap) {
  return colormap ? colormap->getTouchTime() : kNoTouchTime;
}

/// Seeding costs far more than drawing.
std::string randomId() {
  thread_local boost::uuids::random_generator_mt19937 generator;
  return boost::uuids::to_string(generator());
}

constexpr HxCommandText kParameters{"parameters", "COMMAND ?ARGUMENT...?", 0, -1,
                                    "Runs a command of the parameters of the ROI; \"parameters help\" lists them."};

/// Whether two elements have the same name and value; flags do not count.
bool isSame(const HxParamBase& a, const HxParamBase& b) {
  if (a.name() != b.name() || a.isBundle() != b.isBundle()) return false;
  if (!a.isBundle()) return static_cast<const HxParameter&>(a).value() == static_cast<const HxParameter&>(b).value();
  const auto& as = static_cast<const HxParamBundle&>(a);
  const auto& bs = static_cast<const HxParamBundle&>(b);
  if (as.size() != bs.size()) return false;
  for (int i = 0; i < as.size(); ++i) {
    if (!isSame(*as[i], *bs[i])) return false;
  }
  return true;
}

}  // namespace

Roi::Roi(const std::string& name, const McColor& color, const HxColormap* colormap)
    : m_timeStamp(nextTimeStamp()), m_color(color), m_colormap(colormap), m_colormapTouchTime(touchTimeOf(colormap)) {
  commonInit(name);
}

Roi::Roi(const std::string& name, const Roi& other)
    : m_timeStamp(nextTimeStamp()),
      m_color(other.m_color),
      m_colormap(other.m_colormap),
      m_colormapTouchTime(other.m_colormapTouchTime),
      m_colormapRange(other.m_colormapRange),
      m_alphaEnabled(other.m_alphaEnabled) {
  commonInit(name);
  m_parameters.copy(other.m_parameters, 0);
}

Roi::Roi(const Roi& other)
    : McHandable(other),
      m_timeStamp(other.timeStamp()),
      m_parameters(other.m_parameters),
      m_parent(other.m_parent),
      m_owners(other.m_owners),
      m_color(other.m_color),
      m_colormap(other.m_colormap),
      m_colormapTouchTime(other.m_colormapTouchTime),
      m_colormapRange(other.m_colormapRange),
      m_alphaEnabled(other.m_alphaEnabled) {}

Roi::~Roi() = default;

void Roi::commonInit(const std::string& name) {
  auto id = std::make_unique<HxParameter>(kIdKey, randomId());
  id->setFlag(HxParamBase::Internal, true);
  m_parameters.insert(std::move(id));
  setName(name);
  m_parameters.setFlag(HxParamBase::NameLocked, true);
}

int Roi::parse(Tcl_Interp* interp, int argc, char** argv) {
  const char* word = argc > 1 ? argv[1] : "";
  const bool isParameters = cmdCheck(QString::fromUtf8(word), kParameters.name, "...");
  getCmdInfo().describe(kParameters, "Roi");
  getCmdInfo().lead({kParameters.name});
  if (!isParameters) return cmdUsage(interp, argc, argv);
  // Help lists what the parameters know, not the ROI.
  getCmdInfo().clear();
  const HxParamBundle before = m_parameters;
  const int result = m_parameters.parse(interp, argc - 1, argv + 1);
  if (!isSame(before, m_parameters)) touch(64);
  return result;
}

void Roi::notifyAddedToHxRois(HxRois* rois) {
  if (m_owners.insert(rois).second) return;
  throw hxException(translated(QT_TRANSLATE_NOOP("Roi", "%1 has already been inserted inside HxRois %2."))
                        .arg(QString::fromLatin1(name()), rois->getLabel()));
}

void Roi::notifyRemovedFromHxRois(HxRois* rois) {
  if (m_owners.erase(rois) > 0) return;
  throw hxException(translated(QT_TRANSLATE_NOOP("Roi", "%1 has never been inserted inside HxRois %2."))
                        .arg(QString::fromLatin1(name()), rois->getLabel()));
}

void Roi::touch(int flags) {
  for (HxRois* owner : m_owners) owner->touch(static_cast<unsigned int>(flags));
  if (flags & 8) renewTimeStamp();
}

/// A thread that drew its stamp earlier may get here later; the later stamp stays.
void Roi::renewTimeStamp() {
  const std::uint64_t stamp = nextTimeStamp();
  std::uint64_t present = timeStamp();
  while (present < stamp && !m_timeStamp.compare_exchange_weak(present, stamp, std::memory_order_acq_rel)) {
  }
}

std::string Roi::name() const {
  return m_parameters.name();
}

void Roi::setName(const std::string& newName) {
  const std::string oldName = name();
  // A bundle that has no name yet has the empty one.
  if (newName == oldName && !newName.empty()) return;
  if (newName.empty() || fixedName(newName) != newName) {
    throw hxException(translated(
        QT_TRANSLATE_NOOP("Roi", "Invalid name: can only contains alpha numerics, underscores and dashes.")));
  }
  for (HxRois* owner : m_owners) owner->notifyRoiRename(oldName, newName);
  m_parameters.setFlag(HxParamBase::NameLocked, false);
  m_parameters.setName(newName);
  m_parameters.setFlag(HxParamBase::NameLocked, true);
  touch(16);
}

std::string Roi::fixedName(const std::string& name) {
  return HxParameter(name, "").name();
}

std::string Roi::id() const {
  return stringProperty(kIdKey, false);
}

void Roi::setId(const std::string& id) {
  m_parameters.set(kIdKey, id);
}

McColor Roi::color(bool inherit) const {
  return inherit && m_parent ? m_parent->color(true) : m_color;
}

const HxColormap* Roi::colormap(bool inherit) const {
  return inherit && m_parent ? m_parent->colormap(true) : m_colormap.get();
}

std::pair<float, float> Roi::colormapRange(bool inherit) const {
  return inherit && m_parent ? m_parent->colormapRange(true) : m_colormapRange;
}

void Roi::setColor(const McColor& color) {
  if (color == m_color) return;
  m_color = color;
  touch(128);
}

void Roi::setColormap(const HxColormap* colormap) {
  const bool isOther = colormap != m_colormap.get();
  const bool hasChanged = colormap && colormap->getTouchTime() != m_colormapTouchTime;
  if (!isOther && !hasChanged) return;
  m_colormap = ColormapReference(colormap);
  if (colormap) m_colormapTouchTime = colormap->getTouchTime();
  touch(2048);
}

void Roi::setColormapRange(const std::pair<float, float>& range) {
  if (range == m_colormapRange) return;
  m_colormapRange = range;
  touch(32);
}

void Roi::setAlphaEnabled(bool enabled) {
  if (enabled == m_alphaEnabled) return;
  m_alphaEnabled = enabled;
  touch(5);
}

void Roi::setProperty(const std::string& key, const std::string& value) {
  m_parameters.set(key, value);
  touch(64);
}

void Roi::setProperty(const std::string& key, int value) {
  m_parameters.set(key, value);
  touch(64);
}

void Roi::setProperty(const std::string& key, float value) {
  m_parameters.set(key, value);
  touch(64);
}

template <class T>
T Roi::property(const std::string& key, bool inherit, T (Roi::*read)(const std::string&, bool) const,
                bool (HxParamBundle::*find)(std::string_view, T&) const, const char* missing) const {
  if (inherit && m_parent) {
    try {
      return (m_parent->*read)(key, true);
    } catch (const McException&) {
      // The group has no say in this property.
    }
  }
  T value{};
  if (!(m_parameters.*find)(key, value)) throw hxException(translated(missing).arg(QString::fromLatin1(key)));
  return value;
}

std::string Roi::stringProperty(const std::string& key, bool inherit) const {
  return property<std::string>(key, inherit, &Roi::stringProperty, &HxParamBundle::findString,
                               QT_TRANSLATE_NOOP("Roi", "ROI does not have a string property named %1."));
}

int Roi::intProperty(const std::string& key, bool inherit) const {
  return property<int>(key, inherit, &Roi::intProperty, &HxParamBundle::findNum,
                       QT_TRANSLATE_NOOP("Roi", "ROI does not have an integer property named %1."));
}

float Roi::floatProperty(const std::string& key, bool inherit) const {
  return property<float>(key, inherit, &Roi::floatProperty, &HxParamBundle::findReal,
                         QT_TRANSLATE_NOOP("Roi", "ROI does not have a float property named %1."));
}

McColor Roi::nextHtmlColor() {
  static McMutex mutex;
  const std::lock_guard lock(mutex);
  return McColor::nextHtmlColor();
}

}  // namespace hxroi::details
