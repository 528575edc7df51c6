#include "Misbehaviour.h"
#include "Output.h"

#include <cerrno>
#include <chrono>
#include <climits>
#include <cstring>
#include <thread>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace ferrolt::practice {

namespace {

/// Whatever becomes of a test, its grandchildren are gone after this.
constexpr unsigned grandchildSeconds = 120;

enum class Manner { Silent, Chatty };

void leaveGrandchild(Manner manner, std::chrono::milliseconds pace) {
    const pid_t pid = fork();
    if (pid < 0)
        refuse(std::string("no grandchild could be made: ") + std::strerror(errno));
    if (pid > 0) {
        writeOut("grandchild " + std::to_string(pid) + '\n');
        return;
    }
    alarm(grandchildSeconds);
    while (true) {
        std::this_thread::sleep_for(pace);
        if (manner == Manner::Chatty)
            writeOut("said by the grandchild\n");
    }
}

void silentGrandchild(const Words &) {
    leaveGrandchild(Manner::Silent, std::chrono::hours(1));
}

void chattyGrandchild(const Words &arguments) {
    leaveGrandchild(Manner::Chatty, std::chrono::milliseconds(numberIn(arguments[0], 1, INT_MAX)));
}

// The descriptor stays open until the child ends. Nobody accepts, and a connect succeeds all the same.
void listenOn(const Words &arguments) {
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<in_port_t>(numberIn(arguments[0], 1, 65535)));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const int listener = socket(AF_INET, SOCK_STREAM, 0);
    const int on = 1;
    setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    if (bind(listener, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0 ||
        listen(listener, SOMAXCONN) != 0)
        refuse("cannot listen on " + arguments[0] + ": " + std::strerror(errno));
}

constexpr Misbehaviour list[] = {
    {"grandchild", "", 0, 0,
     "leaves a grandchild that writes nothing and holds the output open, and writes the line \"grandchild "
     "PID\"; it\n"
     "outlives the child, and ends itself after two minutes at the latest",
     silentGrandchild},
    {"chatty-grandchild", "MS", 1, 1, "the same, but the grandchild writes a line every MS milliseconds",
     chattyGrandchild},
    {"listen", "PORT", 1, 1, "listens on 127.0.0.1 for as long as the child lives", listenOn},
};

}  // namespace

std::span<const Misbehaviour> neighbours() {
    return list;
}

}  // namespace ferrolt::practice
