#include "SingleInstance.h"

namespace ferrolt {

// Launch Services keeps an application to one instance and reopens it, which the user interface's library
// hears of.
struct SingleInstance::State {};

SingleInstance::SingleInstance(const std::filesystem::path &) {}
SingleInstance::~SingleInstance() = default;
void SingleInstance::listen(std::function<void()>) {}
void SingleInstance::stopListening() {}

}  // namespace ferrolt
