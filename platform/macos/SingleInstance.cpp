#include "SingleInstance.h"

namespace ferrolt {

// Launch Services keeps an application to one instance and reopens it; Qt passes that on.
struct SingleInstance::State {};

SingleInstance::SingleInstance(const std::filesystem::path &) {}
SingleInstance::~SingleInstance() = default;
void SingleInstance::listen(Reopen) {}
void SingleInstance::stopListening() {}
void SingleInstance::rememberChild(int) {}

}  // namespace ferrolt
