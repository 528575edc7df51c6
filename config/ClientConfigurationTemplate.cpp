#include "ClientConfigurationTemplate.h"

namespace ferrolt {

namespace {

// The client's own wording, including its doubled "the the". Values start in column 27, so a line with an
// empty value ends in a space.

constexpr std::string_view beforeCentralHost =
    "### Qor Miner client configuration file ###\n"
    "\n"
    "# Configure logging verbosity to the terminal console (fyi: 0=off, 4=debug)\n"
    "LogLevel                = 3\n"
    "\n"
    "# Set in DEBUG environments to enable debug-only (non-production) behavior such as trusting self-signed "
    "certs.\n"
    "Debug                   = false\n"
    "\n"
    "# Properties for communicating with the Central Server so we can make use of its services.\n"
    "CentralSiteDomain       = ";

constexpr std::string_view betweenHosts =
    "\n"
    "CentralIsSecureSite     = true\n"
    "CentralJsonPort         = 6661\n"
    "CentralJsonPortSsl      = 6443\n"
    "\n"
    "# Public domain name that resolves to the Qor so this miner can connect over WebSockets.\n"
    "QorSiteDomain           = ";

constexpr std::string_view afterQorHost =
    "\n"
    "\n"
    "# Qor server port listening for miner requests (8080 or 8443)\n"
    "QorWebSocketPort        = 8443\n"
    "\n"
    "# Number of simultaneous connections to make the the Qor (number of miner threads to use)\n"
    "MaxQorConnections       = 8\n"
    "\n"
    "# Number of consecutive times Miner will try connecting to the Qor before giving up (zero means "
    "unlimited retries)\n"
    "ConnectRetries          = 0\n"
    "\n"
    "# Email address of this miner, to be used to create account if needed.\n"
    "MinerEmailAddress       = \n"
    "\n"
    "# Full name of the person or business operating this miner.\n"
    "MinerEntityName         = \n"
    "\n"
    "# Publicly displayed name for this miner. Leave empty to use the machine's host name as a default.\n"
    "MinerDisplayName        = \n"
    "\n"
    "# IP address and port of the host which runs tandril (leave blank to indicate loopback)\n"
    "OrbixHost               = \n"
    "OrbixPort               = ";

}  // namespace

std::string clientConfigurationTemplate(std::string_view nodeServerHost) {
    std::string text;
    for (const std::string_view part :
         {beforeCentralHost, nodeServerHost, betweenHosts, nodeServerHost, afterQorHost})
        text += part;
    return text;
}

}  // namespace ferrolt
