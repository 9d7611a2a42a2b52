#pragma once

#include <utility>

/// Declares an observable field of a QObject: a getter `name()`, a setter that
/// stores the value and emits `name##Changed()` only when the value really
/// differs, and the storage `name##_`. The class declares the signal (and the
/// Q_PROPERTY) itself, where moc can see them. `Type` must not contain a
/// comma: give such types an alias first.
#define VORDA_OBSERVABLE(Type, name, setter) \
  public:                                    \
    const Type& name() const {               \
        return name##_;                      \
    }                                        \
    void setter(Type value) {                \
        if (name##_ == value) {              \
            return;                          \
        }                                    \
        name##_ = std::move(value);          \
        Q_EMIT name##Changed();              \
    }                                        \
                                             \
  private:                                   \
    Type name##_ {}
