#pragma once

#include "AlertPresenter.h"

#include <functional>
#include <utility>
#include <vector>

namespace ferrolt {

/// Records the alerts that a person would see, and answers them when the test says so.
class RecordingAlerts : public AlertPresenter {
  public:
    void present(const Alert &alert, std::function<void()> dismissed) override {
        shown.push_back(alert);
        answers.push_back(std::move(dismissed));
    }

    void dismiss(std::size_t index) { std::exchange(answers.at(index), nullptr)(); }

    std::vector<Alert> shown;

  private:
    std::vector<std::function<void()>> answers;
};

}  // namespace ferrolt
