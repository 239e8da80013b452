#pragma once

#include "quarn/base/McType.h"

/// \file
/// Macros that give a class its entry in the table of types.
///
/// In the class, in its public section and before all other virtual members:
///
///     class HXROI_API HxRois : public HxData {
///      public:
///       MC_CLASS_DECL(HxRois)
///
/// and in its source file one of
///
///     MC_CLASS_IMPL(HxRois, HxData)               // objects are made by name; needs a default constructor
///     MC_ABSTRACT_CLASS_IMPL(HxRoisView, HxData)  // no factory; also for classes that want constructor arguments
///
/// A class without a typed parent starts a family: MC_ROOT_CLASS_DECL in the class, MC_ROOT_CLASS_IMPL in the source.
///
/// The class gets
///
///     static void initClass();          // registers it, after its parent; does nothing the second time
///     static void exitClass();          // takes it out of the table; its children stay
///     static McType getClassTypeId();   // the bad type before the first initClass(), valid ever after
///     static void* createInstance();    // null for abstract classes; see McType::Factory
///     virtual McType getTypeId() const; // the type of the object
///
/// and beside it the functions `mcInitClass_<Class>()` and `mcExitClass_<Class>()`, which do the same. They have C
/// linkage and default visibility, need no export macro, and can be looked up by name in a loaded library; code that
/// calls them directly declares them with MC_CLASS_FUNCTIONS_DECL(Class). Registration is not for several threads at
/// once.
///
/// Use the macros at global scope, or in the namespace of the class, with the plain name of the class.

/// Declares the registration functions of a class that is defined elsewhere.
#define MC_CLASS_FUNCTIONS_DECL(Class)                                          \
  extern "C" __attribute__((visibility("default"))) void mcInitClass_##Class(); \
  extern "C" __attribute__((visibility("default"))) void mcExitClass_##Class();

#define MC_CLASS_DECL(Class) \
  MC_DETAIL_CLASS_MEMBERS    \
  McType getTypeId() const override;

#define MC_ROOT_CLASS_DECL(Class) \
  using McTypedRoot = Class;      \
  MC_DETAIL_CLASS_MEMBERS         \
  virtual McType getTypeId() const;

#define MC_CLASS_IMPL(Class, Parent)                     \
  void* Class::createInstance() {                        \
    return static_cast<Parent::McTypedRoot*>(new Class); \
  }                                                      \
  MC_DETAIL_CHILD_CLASS_IMPL(Class, Parent, &Class::createInstance)

#define MC_ABSTRACT_CLASS_IMPL(Class, Parent) \
  void* Class::createInstance() {             \
    return nullptr;                           \
  }                                           \
  MC_DETAIL_CHILD_CLASS_IMPL(Class, Parent, nullptr)

#define MC_ROOT_CLASS_IMPL(Class)                                \
  void* Class::createInstance() {                                \
    return nullptr;                                              \
  }                                                              \
  MC_DETAIL_CLASS_IMPL(Class)                                    \
  void Class::initClass() {                                      \
    mcTypeOf##Class = McType::create(#Class, McType(), nullptr); \
  }

#define MC_DETAIL_CLASS_MEMBERS   \
  static void initClass();        \
  static void exitClass();        \
  static McType getClassTypeId(); \
  static void* createInstance();

#define MC_DETAIL_CHILD_CLASS_IMPL(Class, Parent, factory)                       \
  MC_DETAIL_CLASS_IMPL(Class)                                                    \
  void Class::initClass() {                                                      \
    Parent::initClass();                                                         \
    mcTypeOf##Class = McType::create(#Class, Parent::getClassTypeId(), factory); \
  }

#define MC_DETAIL_CLASS_IMPL(Class) \
  namespace {                       \
  constinit McType mcTypeOf##Class; \
  }                                 \
  void Class::exitClass() {         \
    McType::remove(#Class);         \
  }                                 \
  McType Class::getClassTypeId() {  \
    return mcTypeOf##Class;         \
  }                                 \
  McType Class::getTypeId() const { \
    return mcTypeOf##Class;         \
  }                                 \
  MC_CLASS_FUNCTIONS_DECL(Class)    \
  void mcInitClass_##Class() {      \
    Class::initClass();             \
  }                                 \
  void mcExitClass_##Class() {      \
    Class::exitClass();             \
  }
