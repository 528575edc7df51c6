#pragma once

#include "MainQueue.h"

#include <utility>

namespace ferrolt {

/// A property that only its owner can set. The owner's announceChange() is called before each set, also one
/// to the same value. Main thread.
template <class Value, class Owner>
class Published {
  public:
    Published(Owner &owner, Value initial) : owner(owner), value(std::move(initial)) {}
    Published(const Published &) = delete;
    Published &operator=(const Published &) = delete;

    const Value &get() const { return value; }
    operator const Value &() const { return value; }

  private:
    friend Owner;

    void set(Value next) {
        assertMainThread();
        owner.announceChange();
        value = std::move(next);
    }

    Owner &owner;
    Value value;
};

}  // namespace ferrolt
