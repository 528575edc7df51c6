#include "DesktopAppearance.h"
#include "TestProgram.h"
#include "Theme.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QDBusVirtualObject>
#include <QLabel>
#include <QProcess>
#include <QStandardPaths>
#include <QStyle>
#include <QTest>

using namespace ferrolt;

/// The Settings interface of a desktop portal.
class PracticePortal : public QDBusVirtualObject {
  public:
    QVariant colorScheme = 0U;
    int reads = 0;

    QString introspect(const QString &) const override { return QString(); }

    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override {
        if (message.interface() != "org.freedesktop.portal.Settings" || message.member() != "Read" ||
            message.arguments() != QVariantList{"org.freedesktop.appearance", "color-scheme"})
            return false;
        ++reads;
        connection.send(
            colorScheme.isValid()
                ? message.createReply(
                      QVariant::fromValue(QDBusVariant(QVariant::fromValue(QDBusVariant(colorScheme)))))
                : message.createErrorReply("org.freedesktop.portal.Error.NotFound", "No such setting"));
        return true;
    }

    void change(const QVariant &value) {
        colorScheme = value;
        announce("org.freedesktop.appearance", "color-scheme", value);
    }

    void announce(const QString &space, const QString &key, const QVariant &value) {
        QDBusMessage signal = QDBusMessage::createSignal("/org/freedesktop/portal/desktop",
                                                         "org.freedesktop.portal.Settings", "SettingChanged");
        signal << space << key << QVariant::fromValue(QDBusVariant(value));
        QDBusConnection("portal").send(signal);
    }

    void appear() {
        QDBusConnection bus = QDBusConnection::connectToBus(
            QString::fromLocal8Bit(qgetenv("DBUS_SESSION_BUS_ADDRESS")), "portal");
        QVERIFY(bus.registerVirtualObject("/org/freedesktop/portal/desktop", this));
        QVERIFY(bus.registerService("org.freedesktop.portal.Desktop"));
    }

    static void vanish() { QDBusConnection::disconnectFromBus("portal"); }
};

/// With a private session bus.
class DesktopAppearanceTest : public QObject {
    Q_OBJECT

    QProcess bus;

    static bool isDark() { return QApplication::palette() == Theme::darkPalette(); }
    static bool isLight() { return QApplication::palette() == Theme::lightPalette(); }

  private Q_SLOTS:
    void initTestCase() {
        if (QStandardPaths::findExecutable("dbus-daemon").isEmpty())
            QSKIP("There is no dbus-daemon here.");
        bus.start("dbus-daemon", {"--session", "--nofork", "--print-address"});
        QVERIFY(bus.waitForReadyRead());
        qputenv("DBUS_SESSION_BUS_ADDRESS", bus.readLine().trimmed());
    }

    void cleanupTestCase() {
        bus.terminate();
        bus.waitForFinished();
    }

    void cleanup() {
        PracticePortal::vanish();
        QApplication::setPalette(QPalette());
    }

    void withoutAPortalTheWindowIsLight() {
        const auto appearance = DesktopAppearance::follow();
        QVERIFY(appearance);
        QVERIFY(isLight());
    }

    void aDarkDesktopGetsADarkWindowAndEveryChangeShowsAtOnce() {
        PracticePortal portal;
        portal.colorScheme = 1U;
        portal.appear();
        QLabel label("some text");
        label.show();
        const auto appearance = DesktopAppearance::follow();
        QTRY_VERIFY(isDark());
        QCOMPARE(label.palette().color(QPalette::Window), Theme::windowBackground(Theme::darkPalette()));
        portal.change(2U);
        QTRY_VERIFY(isLight());
        QCOMPARE(label.palette().color(QPalette::Window), Theme::windowBackground(Theme::lightPalette()));
        portal.change(1U);
        QTRY_VERIFY(isDark());
        portal.change(0U);
        QTRY_VERIFY(isLight());
    }

    void aPortalThatComesLaterIsAsked() {
        const auto appearance = DesktopAppearance::follow();
        QVERIFY(isLight());
        PracticePortal portal;
        portal.colorScheme = 1U;
        portal.appear();
        QTRY_VERIFY(isDark());
    }

    void otherSettingsAndOddValuesChangeNothing() {
        PracticePortal portal;
        portal.colorScheme = 1U;
        portal.appear();
        const auto appearance = DesktopAppearance::follow();
        QTRY_VERIFY(isDark());
        portal.announce("org.freedesktop.appearance", "contrast", 2U);
        portal.announce("org.gnome.desktop.interface", "color-scheme", 2U);
        for (const QVariant &odd : {QVariant(QString("light")), QVariant(-1), QVariant(2.0)}) {
            const int before = portal.reads;
            portal.change(odd);
            QTRY_COMPARE(portal.reads, before + 1);
        }
        // Replies keep their order: after this one all earlier replies have arrived.
        portal.change(2U);
        QTRY_VERIFY(isLight());
        portal.change(1U);
        QTRY_VERIFY(isDark());
    }

    void aPortalWithoutTheSettingLeavesTheWindowLight() {
        PracticePortal portal;
        portal.colorScheme = QVariant();
        portal.appear();
        const auto appearance = DesktopAppearance::follow();
        QTRY_VERIFY(portal.reads > 0);
        QCoreApplication::processEvents();
        QVERIFY(isLight());
    }

    void aDesktopWithColoursOfItsOwnKeepsThem() {
        QPalette sepia(QColor(240, 230, 200));
        QApplication::setPalette(sepia);
        const QPalette before = QApplication::palette();
        const auto appearance = DesktopAppearance::follow();
        QVERIFY(!appearance);
        QCOMPARE(QApplication::palette(), before);
    }
};

TEST_CLASS(DesktopAppearanceTest, QApplication)
#include "DesktopAppearanceTest.moc"
