#pragma once

#include <random>
#include <string>

namespace ferrolt::practice {

/// Draws jobs of the kinds that a media engine is asked for; titles in many scripts are part of the practice.
class JobCatalogue {
  public:
    JobCatalogue();
    std::string draw();

  private:
    std::mt19937 chance;
};

}  // namespace ferrolt::practice
