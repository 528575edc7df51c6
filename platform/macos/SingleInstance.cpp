#include "SingleInstance.h"

namespace ferrolt {

// Launch Services runs one instance of an application and reopens that; DesktopReopen receives the request.
struct SingleInstance::State {};

SingleInstance::SingleInstance(const std::filesystem::path &) {}
SingleInstance::~SingleInstance() = default;
void SingleInstance::listen(Reopen) {}
void SingleInstance::stopListening() {}
void SingleInstance::rememberChild(int) {}

}  // namespace ferrolt
