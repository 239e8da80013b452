#pragma once

#include <QString>
#include <memory>
#include <string>
#include <string_view>
#include <tcl.h>
#include <vector>

#include "quarn/base/McColor.h"
#include "quarn/kernel/export.h"
#include "quarn/kernel/params/HxParamBase.h"
#include "quarn/kernel/params/HxParameter.h"

/// An ordered collection of parameters and bundles. Elements are owned; their names are unique within the bundle. Names
/// that are looked up or set are normalised first, see HxParamBase.
class QUARN_KERNEL_API HxParamBundle : public HxParamBase {
public:
  explicit HxParamBundle(std::string_view name = {}) : HxParamBase(name) {}
  /// Copies everything: name, flags, elements.
  HxParamBundle(const HxParamBundle& other);
  HxParamBundle& operator=(const HxParamBundle& other);
  ~HxParamBundle() override;

  bool isBundle() const override { return true; }
  std::unique_ptr<HxParamBase> clone() const override;

  // --- Elements in their order

  int size() const { return static_cast<int>(elements_.size()); }
  HxParamBase* operator[](int index) const { return elements_[static_cast<std::size_t>(index)].get(); }

  /// Appends an element; one of that name that is there already is replaced where it stands. Returns the element.
  HxParamBase* insert(std::unique_ptr<HxParamBase> element);
  /// Removes an element; the ones behind it move up. False when there is none.
  bool remove(int index);
  bool remove(std::string_view name);
  void removeAll() { elements_.clear(); }

  // --- By name

  /// The parameter of that name; null when there is none or it is a bundle.
  HxParameter* find(std::string_view name) const;
  /// The parameter or bundle of that name; null when there is none.
  HxParamBase* findBase(std::string_view name) const;
  /// The bundle of that name; when there is none, a new one at the end or, without `create`, null. A parameter of that
  /// name is replaced by a new bundle.
  HxParamBundle* getBundle(std::string_view name, bool create = true);
  const HxParamBundle* getBundle(std::string_view name) const;
  /// The sub-bundle number `index`, parameters not counted; null outside.
  HxParamBundle* getBundle(int index);
  const HxParamBundle* getBundle(int index) const;
  int bundleCount() const;

  /// Reads a value; false, and `value` is left alone, when there is none of the type. A real is also read from an
  /// integer; a number is not read from a real, nor when it does not fit.
  bool findReal(std::string_view name, double& value) const;
  bool findReal(std::string_view name, float& value) const;
  bool findReals(std::string_view name, std::vector<double>& values) const;
  /// Also requires that there are `count` of them.
  bool findReals(std::string_view name, int count, float* values) const;
  bool findNum(std::string_view name, int& value) const;
  bool findNum(std::string_view name, std::int64_t& value) const;
  bool findString(std::string_view name, std::string& value) const;
  bool findString(std::string_view name, QString& value) const;

  /// Makes or overwrites a parameter; an existing one keeps its flags and its place. A bundle of that name is replaced.
  template <class Value>
  HxParameter* set(std::string_view name, Value&& value) {
    return assign(HxParameter(name, std::forward<Value>(value)));
  }
  HxParameter* set(std::string_view name, int count, const float* reals) {
    return assign(HxParameter(name, count, reals));
  }

  // --- Together

  /// Copies the elements of `other` with their flags, bundles element by element; not its name and flags. What this
  /// bundle has already is overwritten, or kept when `overwrite` is 0; what `other` does not have always stays.
  void copy(const HxParamBundle& other, int overwrite = 1);

  // --- Materials

  /// The bundle "Materials"; made, without materials, when there is none and `create` is not 0; else null.
  HxParamBundle* getMaterials(int create = 1);
  const HxParamBundle* getMaterials() const { return getBundle("Materials"); }
  /// The parameter "Color", three reals. False, and `color` is left alone, without one.
  bool getMaterialColor(McColor& color) const;
  void setMaterialColor(const McColor& color);

  // --- Scripts

  /// Runs a script command: argv[0] is the word before the command ("parameters"), argv[1] the command. Elements of
  /// sub-bundles are addressed with "/": "Materials/Bone/Color". Results as for HxObject::parse().
  ///
  ///     list ?BUNDLE?            lines "name = value" on the console, bundles indented
  ///     names ?BUNDLE?           names of the elements
  ///     get NAME                 the value; reals as a list
  ///     set NAME VALUE...        keeps the type of a parameter that exists, else integer, real or text as the value
  ///     reads;
  ///                              several values are reals
  ///     setText NAME TEXT        as text in any case
  ///     type NAME                text, integer, real, reals or bundle
  ///     remove NAME
  ///
  /// Hidden elements are not listed; those that belong to the program are neither changed nor removed.
  int parse(Tcl_Interp* interp, int argc, char** argv);

private:
  HxParameter* assign(HxParameter parameter);
  int indexOf(std::string_view name) const;

  std::vector<std::unique_ptr<HxParamBase>> elements_;
};
