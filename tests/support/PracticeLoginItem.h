#pragma once

#include "LoginItem.h"

#include <optional>

namespace ferrolt {

/// A log-in item in memory, which a test can change as the desktop's own settings would, and make fail.
class PracticeLoginItem : public LoginItem {
  public:
    struct Facts {
        State state = State::Off;
        std::optional<QString> failure;  ///< of every change
    };

    explicit PracticeLoginItem(Facts &facts) : facts(facts) {}

    State state() const override { return facts.state; }
    std::optional<QString> set(State wanted) override {
        if (!facts.failure)
            facts.state = wanted;
        return facts.failure;
    }

  private:
    Facts &facts;
};

}  // namespace ferrolt
