#include "QuitRequest.h"
#include "TestProgram.h"

#include <QApplication>
#include <QCloseEvent>
#include <QDialog>
#include <QTest>
#include <QTimer>
#include <QWidget>

#include <functional>

using namespace ferrolt;

class QuitRequestTest : public QObject {
    Q_OBJECT

    QStringList happened;

    class Window : public QWidget {
      public:
        explicit Window(QStringList &happened) : happened(happened) {}

      protected:
        void closeEvent(QCloseEvent *event) override {
            happened << "closed";
            QWidget::closeEvent(event);
        }

      private:
        QStringList &happened;
    };

    void runUntilQuitBy(const std::function<void()> &quit) {
        QApplication::setQuitOnLastWindowClosed(false);
        happened.clear();
        Window window(happened);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        const QuitRequest request([this] { happened << "asked"; });
        QTimer::singleShot(0, qApp, quit);
        QTimer::singleShot(20000, &window, [] { QCoreApplication::exit(1); });
        QCOMPARE(QApplication::exec(), 0);
    }

  private Q_SLOTS:
    void theCallComesBeforeTheWindowsClose() {
        runUntilQuitBy([] { QApplication::quit(); });
        QCOMPARE(happened, (QStringList{"asked", "closed"}));
    }

    void itComesThoughAnAlertIsOpen() {
        QDialog alert;
        alert.setModal(true);
        alert.show();
        runUntilQuitBy([] { QApplication::quit(); });
        QCOMPARE(happened, (QStringList{"asked", "closed"}));
    }

    void aWindowThatClosesByItselfAsksForNothing() {
        runUntilQuitBy([] {
            for (QWidget *window : QApplication::topLevelWidgets())
                window->close();
            QTimer::singleShot(0, qApp, [] { QCoreApplication::exit(0); });
        });
        QCOMPARE(happened, QStringList{"closed"});
    }
};

TEST_CLASS(QuitRequestTest, QApplication)
#include "QuitRequestTest.moc"
