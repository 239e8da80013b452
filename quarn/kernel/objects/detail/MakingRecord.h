#pragma once

#include <QString>
#include <cstdint>
#include <set>
#include <vector>

class HxObject;

namespace quarn::detail {

/// What a module had before it when it made a result: what it was connected to, and what that was connected to in its
/// turn, the content of data among these, and the states of the ports of modules. How data are shown does not count.
///
/// Holds no reference to any of the objects.
class MakingRecord {
public:
  explicit MakingRecord(const HxObject& module);

  /// Whether that port was connected.
  bool hasSource(const HxObject& owner, const QString& port) const;

  /// What of it is different at `module`, the same one, now: words for a message; empty for nothing.
  QString differenceTo(const HxObject& module) const;

private:
  struct Source {
    const HxObject* owner;
    QString port;
    const HxObject* object;
    std::uint32_t touchTime;  ///< 0 for what is no data object

    bool isSameConnection(const Source& other) const;
  };
  struct State {
    const HxObject* owner;
    QString port;
    QString text;

    bool operator==(const State& other) const = default;
  };

  void add(const HxObject& object, std::set<const HxObject*>& seen);
  void addSources(const HxObject& object, std::set<const HxObject*>& seen);
  void addStates(const HxObject& object);

  std::vector<Source> sources_;
  std::vector<State> states_;
};

}  // namespace quarn::detail
