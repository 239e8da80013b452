#include <cmath>
#include <optional>

#include "quarn/base/McException.h"
#include "quarn/kernel/fields/HxColormap.h"
#include "quarn/kernel/objects/HxObjectPool.h"
#include "quarn/kernel/params/HxParameter.h"
#include "quarn/kernel/script/HxCommands.h"
#include "quarn/kernel/script/HxWordCommands.h"
#include "quarn/view/HxSceneView.h"
#include "quarn/view/SceneCamera.h"
#include "quarn/view/SceneLayout.h"
#include "quarn/view/ScenePainter.h"
#include "quarn/view/SceneText.h"

using quarn::view::colormapNamed;
using quarn::view::SceneCamera;

namespace {

/// One command of a view.
struct Row {
  HxCommandText text;
  QString (*run)(HxSceneView& view, const QStringList& words);
};

std::string excerpt(const QString& text) {
  return McException::excerpt(text.toStdString());
}

double number(const QString& word) {
  bool isNumber = false;
  const double value = word.toDouble(&isNumber);
  if (!isNumber || !std::isfinite(value)) throw McException("\"" + excerpt(word) + "\" is not a number.");
  return value;
}

int whole(const QString& word) {
  bool isNumber = false;
  const int value = word.toInt(&isNumber);
  if (!isNumber) throw McException("\"" + excerpt(word) + "\" is not a whole number.");
  return value;
}

HxObject* objectNamed(const QString& name) {
  HxObject* object = HxObjectPool::instance().find(name);
  if (!object) throw McException("There is no object \"" + excerpt(name) + "\".");
  return object;
}

QString show(HxSceneView& view, const QStringList& words) {
  for (const QString& name : words) view.show(objectNamed(name));
  return {};
}

QString hide(HxSceneView& view, const QStringList& words) {
  for (const QString& name : words) {
    if (!view.isShown(objectNamed(name))) throw McException("\"" + excerpt(name) + "\" is not shown.");
    view.hide(objectNamed(name));
  }
  return {};
}

/// One word of the command `camera`.
struct CameraRow {
  const char* name;
  int words;  ///< after the name; -1 for those of a state
  QString (*run)(SceneCamera& camera, const QStringList& words);
};

const CameraRow CAMERA_ROWS[] = {
    {"azimuth", 1,
     [](SceneCamera& camera, const QStringList& words) {
       camera.azimuth(number(words[0]));
       return QString();
     }},
    {"elevation", 1,
     [](SceneCamera& camera, const QStringList& words) {
       camera.elevation(number(words[0]));
       return QString();
     }},
    {"zoom", 1,
     [](SceneCamera& camera, const QStringList& words) {
       const double factor = number(words[0]);
       if (!(factor > 0)) throw McException("A factor is above 0, not \"" + excerpt(words[0]) + "\".");
       camera.zoomBy(factor);
       return QString();
     }},
    {"getState", 0, [](SceneCamera& camera, const QStringList&) { return camera.state(); }},
    {"setState", -1,
     [](SceneCamera& camera, const QStringList& words) {
       const QStringList numbers = words.join(QLatin1Char(' ')).split(QLatin1Char(' '), Qt::SkipEmptyParts);
       if (!camera.setState(numbers))
         throw McException(
             "A state is seven numbers: the direction to the camera, the direction that is up, the zoom; "
             "not \"" +
             excerpt(numbers.join(QLatin1Char(' '))) + "\".");
       return QString();
     }},
};

QString camera(HxSceneView& view, const QStringList& words) {
  const QString& word = words[0];
  if (words.size() == 1 && view.camera().look(word)) return {};
  if (words.size() == 1 && word == QLatin1String("fit")) {
    view.fitCamera();
    return {};
  }
  for (const CameraRow& row : CAMERA_ROWS)
    if (word == QLatin1String(row.name) && (row.words < 0 ? words.size() > 1 : words.size() == row.words + 1))
      return row.run(view.camera(), words.mid(1));
  throw McException("The camera does not know \"" + excerpt(words.join(QLatin1Char(' '))) + "\"; it knows " +
                    SceneCamera::viewNames().join(QStringLiteral(", ")).toStdString() +
                    ", fit, azimuth DEGREES, elevation DEGREES, zoom FACTOR, getState, setState STATE.");
}

QString slice(HxSceneView& view, const QStringList& words) {
  const qsizetype axis = QStringLiteral("xyz").indexOf(words[0]);
  if (words[0].size() != 1 || axis < 0)
    throw McException("A slice lies across x, y or z, not \"" + excerpt(words[0]) + "\".");
  if (words.size() == 1) return QString::number(view.slice(static_cast<int>(axis)));
  view.setSlice(static_cast<int>(axis), whole(words[1]));
  return {};
}

QString layout(HxSceneView& view, const QStringList& words) {
  if (words.isEmpty()) return view.layout();
  view.setLayout(words[0]);
  return {};
}

QString background(HxSceneView& view, const QStringList& words) {
  if (words.isEmpty()) {
    const McColor color = view.background();
    QStringList parts;
    for (int channel = 0; channel < 3; ++channel)
      parts.append(QString::fromStdString(HxParameter::printReal(double{color[channel]})));
    return parts.join(QLatin1Char(' '));
  }
  if (words.size() != 3) throw McException("A colour has three numbers from 0 to 1: red, green, blue.");
  view.setBackground(McColor(static_cast<float>(number(words[0])), static_cast<float>(number(words[1])),
                             static_cast<float>(number(words[2]))));
  return {};
}

QString colormap(HxSceneView& view, const QStringList& words) {
  std::optional<std::pair<double, double>> range;
  if (words.size() == 3) throw McException("A range has two ends: MIN MAX.");
  if (words.size() == 4) range.emplace(number(words[2]), number(words[3]));
  view.setColormap(objectNamed(words[0]), colormapNamed(words[1]), range);
  return {};
}

QString volume(HxSceneView& view, const QStringList& words) {
  view.setVolumeMode(objectNamed(words[0]), quarn::view::volumeMode(words[1]));
  return {};
}

QString marks(HxSceneView& view, const QStringList& words) {
  if (words.isEmpty()) return QString::number(view.hasMarks() ? 1 : 0);
  if (words[0] != QLatin1String("0") && words[0] != QLatin1String("1"))
    throw McException("Marks are 0 or 1, not \"" + excerpt(words[0]) + "\".");
  view.setMarks(words[0] == QLatin1String("1"));
  return {};
}

QString snapshot(HxSceneView& view, const QStringList& words) {
  view.snapshot(words[0], whole(words[1]), whole(words[2]));
  return {};
}

const Row ROWS[] = {
    {{"show", "OBJECT ...", 1, -1, "Shows images, and objects that hold masks."}, show},
    {{"hide", "OBJECT ...", 1, -1, "Hides what is shown."}, hide},
    {{"shown", "", 0, 0, "Returns the names of what is shown."},
     [](HxSceneView& view, const QStringList&) { return view.shownNames().join(QLatin1Char(' ')); }},
    {{"camera",
      "front|back|left|right|top|bottom|fit|azimuth DEGREES|elevation DEGREES|zoom FACTOR|getState|setState STATE", 1,
      8,
      "Looks from a side of the patient, moves the camera to its right or up, brings it nearer, or centres the next "
      "picture anew."},
     camera},
    {{"slice", "x|y|z ?INDEX?", 1, 2, "Chooses the slice across an axis, from 0; without INDEX returns it."}, slice},
    {{"layout", "?column|four|space|x|y|z?", 0, 1, "Chooses the panes; without a word returns the layout."}, layout},
    {{"background", "?R G B?", 0, 3, "Chooses the colour behind everything, numbers from 0 to 1, or returns it."},
     background},
    {{"colormap", "IMAGE COLORMAP ?MIN MAX?", 2, 4,
      "Shows an image through a colormap, from MIN to MAX or over the values that most voxels lie between."},
     colormap},
    {{"volume", "IMAGE auto|off|slices|rendered", 2, 2,
      "Shows an image in space: not, as slices, or as a cloud; auto is a cloud unless there are masks or labels, too."},
     volume},
    {{"marks", "?0|1?", 0, 1, "Whether letters tell the sides of a patient and lines the other slices."}, marks},
    {{"snapshot", "FILE.png WIDTH HEIGHT", 3, 3, "Draws a picture of 1 to 8192 pixels along each side into a file."},
     snapshot},
};

}  // namespace

int HxSceneView::parse(Tcl_Interp* interp, int argc, char** argv) {
  const QString word = argc > 1 ? QString::fromUtf8(argv[1]) : QString();
  const Row* called = nullptr;
  for (const Row& row : ROWS)
    if (cmdCheck(word, row.text, "HxSceneView")) called = &row;
  if (!called) return HxObject::parse(interp, argc, argv);
  const HxWords words{interp, argc, argv};
  const int form = words.checkForm(called->text);
  if (form != HX_CMD_GO_ON) return form;
  const QString result = called->run(*this, words.texts());
  if (!result.isEmpty()) Tcl_SetObjResult(interp, Tcl_NewStringObj(result.toUtf8().constData(), -1));
  return TCL_OK;
}
