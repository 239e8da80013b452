#pragma once

#include <QString>
#include <QStringList>

namespace quarn::detail {

/// What a synopsis such as "FILE ?-as NAME? ?-kind scalar|label?" or "ROI..." says may stand where.
class Synopsis {
public:
  explicit Synopsis(const QString& text);

  /// What may follow the words already given: placeholders in capitals, literal words and options, mixed.
  QStringList after(const QStringList& given) const;

private:
  struct Option {
    QString name;
    QStringList values;  ///< what its value may be; empty for an option without one
  };

  QStringList optionsBesides(const QStringList& given) const;

  QList<QStringList> places_;  ///< what may stand at each place
  bool repeats_ = false;       ///< the last place stands for any number of words
  QList<Option> options_;
};

}  // namespace quarn::detail
