#include "SingleInstance.h"

namespace ferrolt {

// Launch Services keeps an application to one instance and reopens it; the application hears of that by
// itself.
struct SingleInstance::State {};

SingleInstance::SingleInstance(const std::filesystem::path &) {}
SingleInstance::~SingleInstance() = default;
void SingleInstance::listen(std::function<void()>) {}
void SingleInstance::stopListening() {}

}  // namespace ferrolt
