/// A session manager (X Session Management Protocol 1.0) that reads commands from its standard input, one per
/// line, and sends them to every program that has joined it:
///
///   save     save, because the session is about to end; the programs may ask their user
///   cancel   the session does not end
///   die      quit
///
/// Prints the value of SESSION_MANAGER first, and then what the programs do: joined, saved, failed-to-save,
/// asks-its-user, left, and each property that they set.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <string>
#include <vector>

#include <X11/ICE/ICElib.h>
#include <X11/ICE/ICEutil.h>
#include <X11/SM/SMlib.h>
#include <poll.h>
#include <unistd.h>

namespace {

struct Client {
    SmsConn session = nullptr;
    bool isLeaving = false;
};

std::vector<IceConn> connections;
std::vector<Client *> clients;

void say(const std::string &line) {
    std::cout << line << std::endl;
}

Client &asClient(SmPointer data) {
    return *static_cast<Client *>(data);
}

Status registerClient(SmsConn session, SmPointer, char *previousId) {
    if (previousId != nullptr) {
        std::free(previousId);
        return 0;  // an unknown id: the program joins as a new one
    }
    char *id = SmsGenerateClientID(session);
    SmsRegisterClientReply(session, id);
    std::free(id);
    say("joined");
    SmsSaveYourself(session, SmSaveLocal, False, SmInteractStyleNone,
                    False);  // the protocol demands this for a new program
    return 1;
}

void interactRequest(SmsConn session, SmPointer, int) {
    say("asks-its-user");
    SmsInteract(session);
}
void interactDone(SmsConn, SmPointer, Bool) {}
void saveYourselfRequest(SmsConn, SmPointer, int, Bool, int, Bool, Bool) {}
void phase2Request(SmsConn session, SmPointer) {
    SmsSaveYourselfPhase2(session);
}
void saveYourselfDone(SmsConn session, SmPointer data, Bool success) {
    say(success ? "saved" : "failed-to-save");
    if (!asClient(data).isLeaving)
        SmsSaveComplete(session);
}
void closeConnection(SmsConn session, SmPointer data, int count, char **reasons) {
    SmFreeReasons(count, reasons);
    clients.erase(std::find(clients.begin(), clients.end(), &asClient(data)));
    delete &asClient(data);
    const IceConn connection = SmsGetIceConnection(session);
    SmsCleanUp(session);
    connections.erase(std::find(connections.begin(), connections.end(), connection));
    IceSetShutdownNegotiation(connection, False);
    IceCloseConnection(connection);
    say("left");
}
void setProperties(SmsConn, SmPointer, int count, SmProp **properties) {
    for (int i = 0; i < count; ++i) {
        std::string line = std::string("property ") + properties[i]->name;
        const bool isNumber = std::string(properties[i]->type) == SmCARD8;
        for (int v = 0; v < properties[i]->num_vals; ++v) {
            const SmPropValue &value = properties[i]->vals[v];
            const char *bytes = static_cast<const char *>(value.value);
            line += ' ';
            line += isNumber ? std::to_string(static_cast<unsigned char>(*bytes))
                             : std::string(bytes, static_cast<std::size_t>(value.length));
        }
        say(line);
        SmFreeProperty(properties[i]);
    }
    std::free(properties);
}
void deleteProperties(SmsConn, SmPointer, int count, char **names) {
    for (int i = 0; i < count; ++i)
        std::free(names[i]);
    std::free(names);
}
void getProperties(SmsConn session, SmPointer) {
    SmsReturnProperties(session, 0, nullptr);
}

Status newClient(SmsConn session, SmPointer, unsigned long *mask, SmsCallbacks *callbacks, char **) {
    auto *client = new Client{.session = session};
    clients.push_back(client);
    *mask = SmsRegisterClientProcMask | SmsInteractRequestProcMask | SmsInteractDoneProcMask |
            SmsSaveYourselfRequestProcMask | SmsSaveYourselfP2RequestProcMask | SmsSaveYourselfDoneProcMask |
            SmsCloseConnectionProcMask | SmsSetPropertiesProcMask | SmsDeletePropertiesProcMask |
            SmsGetPropertiesProcMask;
    callbacks->register_client = {registerClient, client};
    callbacks->interact_request = {interactRequest, client};
    callbacks->interact_done = {interactDone, client};
    callbacks->save_yourself_request = {saveYourselfRequest, client};
    callbacks->save_yourself_phase2_request = {phase2Request, client};
    callbacks->save_yourself_done = {saveYourselfDone, client};
    callbacks->close_connection = {closeConnection, client};
    callbacks->set_properties = {setProperties, client};
    callbacks->delete_properties = {deleteProperties, client};
    callbacks->get_properties = {getProperties, client};
    return 1;
}

Bool everyoneMayJoin(char *) {
    return True;
}

/// Replaces the library's handler, which would exit when a client is killed.
void connectionBroke(IceConn connection) {
    const auto client = std::find_if(clients.begin(), clients.end(), [&](const Client *candidate) {
        return SmsGetIceConnection(candidate->session) == connection;
    });
    if (client != clients.end()) {
        delete *client;
        clients.erase(client);
    }
    connections.erase(std::remove(connections.begin(), connections.end(), connection), connections.end());
    say("left");
}

void obey(const std::string &word) {
    for (Client *client : std::vector(clients)) {
        if (word == "save") {
            client->isLeaving = true;
            SmsSaveYourself(client->session, SmSaveBoth, True, SmInteractStyleAny, False);
        } else if (word == "cancel") {
            client->isLeaving = false;
            SmsShutdownCancelled(client->session);
        } else if (word == "die") {
            SmsDie(client->session);
        }
    }
}

void accept(IceListenObj listener) {
    IceAcceptStatus status = IceAcceptFailure;
    const IceConn connection = IceAcceptConnection(listener, &status);
    if (connection != nullptr)
        connections.push_back(connection);
}

}  // namespace

int main() {
    char error[256] = "";
    int count = 0;
    IceListenObj *listeners = nullptr;
    IceSetIOErrorHandler(connectionBroke);
    if (!SmsInitialize("Practice", "1", newClient, nullptr, everyoneMayJoin, sizeof error, error) ||
        !IceListenForConnections(&count, &listeners, sizeof error, error)) {
        std::cerr << error << '\n';
        return 1;
    }
    for (int i = 0; i < count; ++i)
        IceSetHostBasedAuthProc(listeners[i], everyoneMayJoin);
    char *addresses = IceComposeNetworkIdList(count, listeners);
    say(addresses);
    std::free(addresses);

    std::string typed;
    for (;;) {
        std::vector<pollfd> watched{{STDIN_FILENO, POLLIN, 0}};
        for (int i = 0; i < count; ++i)
            watched.push_back({IceGetListenConnectionNumber(listeners[i]), POLLIN, 0});
        for (const IceConn connection : connections)
            watched.push_back({IceConnectionNumber(connection), POLLIN, 0});
        if (poll(watched.data(), watched.size(), -1) < 0)
            return 1;
        if (watched[0].revents != 0) {
            char bytes[64];
            const ssize_t size = read(STDIN_FILENO, bytes, sizeof bytes);
            if (size <= 0)
                break;
            typed.append(bytes, static_cast<std::size_t>(size));
            for (std::size_t end = typed.find('\n'); end != std::string::npos; end = typed.find('\n')) {
                obey(typed.substr(0, end));
                typed.erase(0, end + 1);
            }
        }
        for (int i = 0; i < count; ++i)
            if (watched[static_cast<std::size_t>(i) + 1].revents != 0)
                accept(listeners[i]);
        for (const IceConn connection : std::vector(connections)) {
            if (std::find(connections.begin(), connections.end(), connection) == connections.end())
                continue;  // closed while another connection's message was handled
            const auto entry = std::find_if(watched.begin(), watched.end(), [&](const pollfd &candidate) {
                return candidate.fd == IceConnectionNumber(connection) && candidate.revents != 0;
            });
            if (entry != watched.end() &&
                IceProcessMessages(connection, nullptr, nullptr) == IceProcessMessagesIOError) {
                connectionBroke(connection);
                IceCloseConnection(connection);
            }
        }
    }
    IceFreeListenObjs(count, listeners);  // removes the sockets' files too
    return 0;
}
