#include "Operations.h"
#include "PathResolvers.h"
#include "SaveProps.h"

namespace ferrolt {

Operation saveIdentity(const std::filesystem::path &folder) {
    PathRoots roots;
    roots.home = folder / "home";
    roots.nodeServerHost = "nodes.test";
    usePathRoots(roots);
    clientConfigurationPath();
    return [] {
        SaveProps::save(QStringLiteral("new@example.org"), QStringLiteral("New Name"), QStringLiteral("new"));
        return std::string("done");
    };
}

}  // namespace ferrolt
