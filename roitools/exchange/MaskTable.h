#pragma once

#include <QByteArray>
#include <QString>
#include <string>
#include <vector>

#include "quarn/base/McColor.h"
#include "roitools/export.h"

namespace roitools {

/// The table beside images of single masks: which file is which ROI (docs/format/exchange.md).
struct ROITOOLS_API MaskTable {
  /// A mask, or with an empty `file` a group. Texts are UTF-8.
  struct Row {
    std::string file;  ///< name of the image, in the folder of the table
    std::string name;
    std::string group;
    McColor color;
  };

  std::vector<Row> rows;  ///< in the order of the set; a group stands before its members

  static QString suffix() { return QStringLiteral(".masks.csv"); }

  /// Throws McException naming `file`, line and value for what is no such table, and for images that are not named as
  /// files of the same folder.
  static MaskTable parse(const QByteArray& text, const QString& file);

  QByteArray toText() const;
};

}  // namespace roitools
