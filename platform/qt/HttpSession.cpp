#include "HttpSession.h"

#include "BackgroundQueue.h"
#include "HttpEngine.h"
#include "MainQueue.h"

#include <condition_variable>
#include <mutex>
#include <optional>
#include <utility>

namespace ferrolt {

namespace {

/// Blocks until `request`, which has no completion yet, has ended.
HttpReply waitFor(HttpEngine &engine, HttpRequest request) {
    struct Wait {
        std::mutex mutex;
        std::condition_variable changed;
        std::optional<HttpReply> reply;
    };
    const auto wait = std::make_shared<Wait>();
    request.completion = [wait](HttpReply reply) {
        std::lock_guard lock(wait->mutex);
        wait->reply = std::move(reply);
        wait->changed.notify_all();
    };
    if (!engine.submit(request))
        return {HttpReply::Error::Cancelled, 0, {}};
    std::unique_lock lock(wait->mutex);
    wait->changed.wait(lock, [&] { return wait->reply.has_value(); });
    return std::move(*wait->reply);
}

}  // namespace

HttpSession::HttpSession(HttpConfiguration configuration)
    : engine(HttpEngine::create(std::move(configuration))) {}

HttpSession::~HttpSession() {
    engine->close();
}

void HttpSession::fetch(const QUrl &url, Completion completion) {
    HttpRequest request{url, std::nullopt, {}, std::move(completion)};
    if (engine->submit(request))
        return;
    const auto tell = [completion = std::move(request.completion)] {
        completion({HttpReply::Error::Cancelled, 0, {}});
    };
    if (!BackgroundQueue::async(QualityOfService::Default, tell))
        MainQueue::async(tell);
}

// The blocking calls keep the engine, so that the session may go away under them.

HttpReply HttpSession::fetchData(const QUrl &url) {
    const auto kept = engine;
    return waitFor(*kept, {url, std::nullopt, {}, {}});
}

HttpReply HttpSession::downloadFile(const QUrl &url, const std::filesystem::path &destination,
                                    Progress progress) {
    const auto kept = engine;
    return waitFor(*kept, {url, destination, std::move(progress), {}});
}

void HttpSession::cancel() {
    engine->cancel();
}

}  // namespace ferrolt
