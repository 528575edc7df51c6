#pragma once

#include <utility>

namespace ferrolt {

/// A property whose owner announces a change before it happens. Anyone may read it, only the owner sets it.
/// Main thread. A set to the same value is still announced, as for any observable property.
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
        owner.announceChange();
        value = std::move(next);
    }

    Owner &owner;
    Value value;
};

}  // namespace ferrolt
