// How soon the window answers its user while both children flood.

#include "LauncherFigures.h"
#include "Scene.h"
#include "WindowFixture.h"

#include <QEventLoop>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPushButton>
#include <QTimer>

#include <thread>

namespace ferrolt::bench {

namespace {

using namespace std::chrono_literals;

constexpr int inputs = 20;

/// Hands the main thread an input from another thread, as a display server would, and waits until the widget
/// has been painted and what was to happen has. In milliseconds.
class Answer : public QObject {
  public:
    double to(QWidget &widget, const std::function<void()> &input, const std::function<bool()> &hasHappened) {
        QEventLoop loop;
        happened = hasHappened;
        painted = [&loop] { QMetaObject::invokeMethod(&loop, &QEventLoop::quit, Qt::QueuedConnection); };
        widget.installEventFilter(this);
        std::chrono::steady_clock::time_point given;
        std::thread user([&] {
            std::this_thread::sleep_for(7ms);
            given = std::chrono::steady_clock::now();
            input();
        });
        QTimer::singleShot(5s, &loop, &QEventLoop::quit);
        loop.exec();
        const auto end = std::chrono::steady_clock::now();
        user.join();
        widget.removeEventFilter(this);
        return std::chrono::duration<double, std::milli>(end - given).count();
    }

  protected:
    bool eventFilter(QObject *, QEvent *event) override {
        if (event->type() == QEvent::Paint && happened())
            painted();
        return false;
    }

  private:
    std::function<bool()> happened;
    std::function<void()> painted;
};

double worstKey(Scene &scene) {
    scene.vars().selectTab(AppVars::settingsTab);
    runFor(300ms);
    auto *const field = named<QLineEdit>(*scene.window, QStringLiteral("User / Company Name"));
    field->setFocus();
    double worst = 0;
    for (int i = 0; i < inputs; ++i) {
        const qsizetype length = field->text().size();
        worst = std::max(worst, Answer().to(
                                    *field,
                                    [&] {
                                        QCoreApplication::postEvent(
                                            field, new QKeyEvent(QEvent::KeyPress, Qt::Key_A, Qt::NoModifier,
                                                                 QStringLiteral("a")));
                                    },
                                    [&] { return field->text().size() > length; }));
    }
    return worst;
}

double worstCopy(Scene &scene) {
    scene.vars().selectTab(AppVars::homeTab);
    runFor(300ms);
    auto *const button = scene.home().lumoraConsole()->findChild<QPushButton *>();
    double worst = 0;
    for (int i = 0; i < inputs; ++i) {
        int clicks = 0;
        const auto counting = QObject::connect(button, &QAbstractButton::clicked, [&] { ++clicks; });
        const auto post = [&](QEvent::Type type, Qt::MouseButtons buttons) {
            const QPointF at = QRectF(button->rect()).center();
            QCoreApplication::postEvent(button, new QMouseEvent(type, at, button->mapToGlobal(at),
                                                                Qt::LeftButton, buttons, Qt::NoModifier));
        };
        worst = std::max(worst, Answer().to(
                                    *button,
                                    [&] {
                                        post(QEvent::MouseButtonPress, Qt::LeftButton);
                                        post(QEvent::MouseButtonRelease, Qt::NoButton);
                                    },
                                    [&] { return clicks > 0; }));
        QObject::disconnect(counting);
        scene.launcher.time->advance(1300ms);  // the confirmation goes
        runFor(20ms);
    }
    return worst;
}

}  // namespace

void inputInTheFlood(const Options &options) {
    Samples keys;
    Samples copies;
    for (int run = 0; run < options.runs; ++run) {
        Scene scene("flood", "flood");
        scene.open();
        scene.window->activateWindow();
        copies.push_back(worstCopy(scene));
        keys.push_back(worstKey(scene));
    }
    report({"typing while both flood: worst answer",
            "ms",
            keys,
            "",
            {},
            Judged::Ours,
            Goal::AtMost,
            50,
            Summary::Worst});
    report({"pressing copy while both flood: worst answer",
            "ms",
            copies,
            "",
            {},
            Judged::Ours,
            Goal::AtMost,
            50,
            Summary::Worst});
}

}  // namespace ferrolt::bench
