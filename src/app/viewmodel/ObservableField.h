#pragma once

#include <utility>

/// Declares an observable field of a QObject that has a `changed()` signal:
/// a getter `name()`, a setter that stores the value and emits `changed()`
/// only when the value really differs, and the storage `name##_`. `Type`
/// must not contain a comma: give such types an alias first.
#define VORDA_FIELD(Type, name, setter) \
  public:                               \
    const Type& name() const {          \
        return name##_;                 \
    }                                   \
    void setter(Type value) {           \
        if (name##_ == value) {         \
            return;                     \
        }                               \
        name##_ = std::move(value);     \
        Q_EMIT changed();               \
    }                                   \
                                        \
  private:                              \
    Type name##_ {}
