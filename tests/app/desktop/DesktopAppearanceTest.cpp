#include "DesktopAppearance.h"
#include "LauncherStyle.h"
#include "TestProgram.h"
#include "Theme.h"

#include <QApplication>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusVariant>
#include <QDBusVirtualObject>
#include <QElapsedTimer>
#include <QLabel>
#include <QMap>
#include <QProcess>
#include <QStandardPaths>
#include <QStyle>
#include <QTest>

#include <limits>
#include <utility>

using namespace ferrolt;

/// A colour as the portal gives it.
struct PortalColor {
    double red, green, blue;
};
Q_DECLARE_METATYPE(PortalColor)

QDBusArgument &operator<<(QDBusArgument &argument, const PortalColor &color) {
    argument.beginStructure();
    argument << color.red << color.green << color.blue;
    argument.endStructure();
    return argument;
}
const QDBusArgument &operator>>(const QDBusArgument &argument, PortalColor &) {
    return argument;
}

using Setting = std::pair<QString, QString>;

static const Setting colorScheme{"org.freedesktop.appearance", "color-scheme"};
static const Setting contrastSetting{"org.freedesktop.appearance", "contrast"};
static const Setting accentColor{"org.freedesktop.appearance", "accent-color"};
static const Setting reducedMotion{"org.freedesktop.appearance", "reduced-motion"};
static const Setting gnomeAnimations{"org.gnome.desktop.interface", "enable-animations"};
static const Setting kdeAnimations{"org.kde.kdeglobals.KDE", "AnimationDurationFactor"};

/// The Settings interface of a desktop portal.
class PracticePortal : public QDBusVirtualObject {
  public:
    QMap<Setting, QVariant> values;
    QMap<Setting, int> reads;
    QList<Setting> unanswered;  ///< these are never answered
    QList<QDBusMessage> waiting;

    QString introspect(const QString &) const override { return QString(); }

    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override {
        if (message.interface() != "org.freedesktop.portal.Settings" || message.member() != "Read" ||
            message.arguments().size() != 2)
            return false;
        const Setting setting(message.arguments()[0].toString(), message.arguments()[1].toString());
        ++reads[setting];
        message.setDelayedReply(true);
        if (unanswered.contains(setting))
            waiting.append(message);
        else
            answer(message, connection);
        return true;
    }

    void answer(const QDBusMessage &message, const QDBusConnection &connection) const {
        const Setting setting(message.arguments()[0].toString(), message.arguments()[1].toString());
        const QVariant value = values.value(setting);
        connection.send(value.isValid() ? message.createReply(QVariant::fromValue(
                                              QDBusVariant(QVariant::fromValue(QDBusVariant(value)))))
                                        : message.createErrorReply("org.freedesktop.portal.Error.NotFound",
                                                                   "No such setting"));
    }

    void change(const Setting &setting, const QVariant &value) {
        values[setting] = value;
        announce(setting, value);
    }

    static void announce(const Setting &setting, const QVariant &value) {
        QDBusMessage signal = QDBusMessage::createSignal("/org/freedesktop/portal/desktop",
                                                         "org.freedesktop.portal.Settings", "SettingChanged");
        signal << setting.first << setting.second << QVariant::fromValue(QDBusVariant(value));
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
    static bool hasMotion() {
        return QApplication::style()->styleHint(QStyle::SH_Widget_Animation_Duration) > 0;
    }
    static QVariant color(double red, double green, double blue) {
        return QVariant::fromValue(PortalColor{red, green, blue});
    }

  private Q_SLOTS:
    void initTestCase() {
        if (QStandardPaths::findExecutable("dbus-daemon").isEmpty())
            QSKIP("There is no dbus-daemon here.");
        bus.start("dbus-daemon", {"--session", "--nofork", "--print-address"});
        QVERIFY(bus.waitForReadyRead());
        qputenv("DBUS_SESSION_BUS_ADDRESS", bus.readLine().trimmed());
        qDBusRegisterMetaType<PortalColor>();
        LauncherStyle::install();
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
        QVERIFY(isLight());
        QVERIFY(hasMotion());
    }

    void aDarkDesktopGetsADarkWindowAndEveryChangeShowsAtOnce() {
        PracticePortal portal;
        portal.values[colorScheme] = 1U;
        portal.appear();
        QLabel label("some text");
        label.show();
        const auto appearance = DesktopAppearance::follow();
        QTRY_VERIFY(isDark());
        QTRY_COMPARE(label.palette().color(QPalette::Window), Theme::windowBackground(Theme::darkPalette()));
        portal.change(colorScheme, 2U);
        QTRY_VERIFY(isLight());
        QTRY_COMPARE(label.palette().color(QPalette::Window), Theme::windowBackground(Theme::lightPalette()));
        portal.change(colorScheme, 1U);
        QTRY_VERIFY(isDark());
        portal.change(colorScheme, 0U);
        QTRY_VERIFY(isLight());
    }

    void contrastIsFollowed() {
        PracticePortal portal;
        portal.values[contrastSetting] = 1U;
        portal.appear();
        const auto appearance = DesktopAppearance::follow();
        QTRY_COMPARE(QApplication::palette(), Theme::lightPalette(Theme::Contrast::High));
        portal.change(colorScheme, 1U);
        QTRY_COMPARE(QApplication::palette(), Theme::darkPalette(Theme::Contrast::High));
        portal.change(contrastSetting, 0U);
        QTRY_VERIFY(isDark());
        portal.change(contrastSetting, 1U);
        QTRY_VERIFY(!isDark());
        portal.change(contrastSetting, 2U);  // of a later version of the portal
        QTRY_VERIFY(isDark());
    }

    void theAccentColourIsFollowedAndWhatIsNoneIsOurOwn() {
        PracticePortal portal;
        portal.values[accentColor] = color(0.9, 0.4, 0);
        portal.appear();
        const auto appearance = DesktopAppearance::follow();
        const QColor orange = QColor::fromRgbF(0.9F, 0.4F, 0.0F);
        QTRY_COMPARE(QApplication::palette(), Theme::lightPalette(Theme::Contrast::Normal, orange));
        QVERIFY(QApplication::palette() != Theme::lightPalette());
        const double none = std::numeric_limits<double>::quiet_NaN();
        for (const QVariant &odd :
             {color(-1, -1, -1), color(1.1, 0, 0), color(0, none, 0), QVariant("orange"), QVariant(1U),
              QVariant(QVariantList{0.9, 0.4, 0.0}), QVariant(QByteArray(100000, 'x'))}) {
            portal.change(accentColor, odd);
            QTRY_VERIFY(isLight());
            portal.change(accentColor, color(0.9, 0.4, 0));
            QTRY_VERIFY(!isLight());
        }
    }

    void reducedMotionIsFollowed_data() {
        QTest::addColumn<Setting>("setting");
        QTest::addColumn<QVariant>("reduced");
        QTest::addColumn<QVariant>("full");
        QTest::newRow("common") << reducedMotion << QVariant(1U) << QVariant(0U);
        QTest::newRow("GNOME") << gnomeAnimations << QVariant(false) << QVariant(true);
        QTest::newRow("KDE") << kdeAnimations << QVariant("0") << QVariant("0.5");
    }
    void reducedMotionIsFollowed() {
        QFETCH(Setting, setting);
        QFETCH(QVariant, reduced);
        QFETCH(QVariant, full);
        PracticePortal portal;
        portal.values[setting] = reduced;
        portal.appear();
        const auto appearance = DesktopAppearance::follow();
        QTRY_VERIFY(!hasMotion());
        portal.change(setting, full);
        QTRY_VERIFY(hasMotion());
        portal.change(setting, reduced);
        QTRY_VERIFY(!hasMotion());
        for (const QVariant &odd : {QVariant("quick"), QVariant(QVariantList{1.0, 2.0})}) {
            const int before = portal.reads[setting];
            portal.change(setting, odd);
            QTRY_COMPARE(portal.reads[setting], before + 1);
        }
        portal.change(colorScheme, 1U);  // its reply comes after the others
        QTRY_VERIFY(isDark());
        QVERIFY(!hasMotion());
        portal.change(setting, full);
        QTRY_VERIFY(hasMotion());
    }

    void aPortalThatComesLaterIsAsked() {
        const auto appearance = DesktopAppearance::follow();
        QVERIFY(isLight());
        PracticePortal portal;
        portal.values[colorScheme] = 1U;
        portal.appear();
        QTRY_VERIFY(isDark());
    }

    void aPortalThatVanishesLeavesTheWindowAsItIsUntilOneComesAgain() {
        PracticePortal portal;
        portal.values[colorScheme] = 1U;
        portal.appear();
        const auto appearance = DesktopAppearance::follow();
        QTRY_VERIFY(isDark());
        PracticePortal::vanish();
        PracticePortal next;
        next.values[contrastSetting] = 1U;
        next.appear();
        QTRY_COMPARE(QApplication::palette(), Theme::darkPalette(Theme::Contrast::High));
    }

    void otherSettingsAndOddValuesChangeNothing() {
        PracticePortal portal;
        portal.values[colorScheme] = 1U;
        portal.appear();
        const auto appearance = DesktopAppearance::follow();
        QTRY_VERIFY(isDark());
        PracticePortal::announce({"org.freedesktop.appearance", "font"}, 2U);
        PracticePortal::announce({"org.gnome.desktop.interface", "color-scheme"}, 2U);
        for (const QVariant &odd : {QVariant(QString("light")), QVariant(-1), QVariant(2.0)}) {
            const int before = portal.reads[colorScheme];
            portal.change(colorScheme, odd);
            QTRY_COMPARE(portal.reads[colorScheme], before + 1);
        }
        // Replies keep their order: after this one all earlier replies have arrived.
        portal.change(colorScheme, 2U);
        QTRY_VERIFY(isLight());
        portal.change(colorScheme, 1U);
        QTRY_VERIFY(isDark());
    }

    void aPortalWithoutTheSettingLeavesTheWindowLight() {
        PracticePortal portal;
        portal.appear();
        const auto appearance = DesktopAppearance::follow();
        QTRY_VERIFY(portal.reads[colorScheme] > 0);
        QCoreApplication::processEvents();
        QVERIFY(isLight());
    }

    void aSettingThatIsNeverAnsweredHoldsBackNoOtherAndAnswersLate() {
        PracticePortal portal;
        portal.values[accentColor] = color(0.9, 0.4, 0);
        portal.unanswered = {accentColor};
        portal.appear();
        const auto appearance = DesktopAppearance::follow();
        for (int round = 0; round < 3; ++round) {
            portal.change(colorScheme, 1U);
            PracticePortal::announce(accentColor, color(0, 0, 0));
            QTRY_VERIFY(isDark());
            portal.change(colorScheme, 2U);
            QTRY_VERIFY(isLight());
        }
        QCOMPARE(portal.waiting.size(), 1);
        portal.unanswered.clear();
        portal.answer(portal.waiting.front(), QDBusConnection("portal"));
        QTRY_VERIFY(!isLight() && !isDark());
    }

    void aFloodOfSignalsIsAnsweredByAFewReads() {
        PracticePortal portal;
        portal.appear();
        const auto appearance = DesktopAppearance::follow();
        QTRY_COMPARE(portal.reads[colorScheme], 1);
        QElapsedTimer flood;
        flood.start();
        for (int i = 0; i < 5000; ++i)
            PracticePortal::announce(colorScheme, 1U);
        portal.change(colorScheme, 1U);
        QTRY_VERIFY(isDark());
        // Ten a second, one at the beginning and one at the end.
        QVERIFY2(portal.reads[colorScheme] <= 3 + flood.elapsed() / 100,
                 qPrintable(QString::number(portal.reads[colorScheme])));
    }

    void aDesktopWithColoursOfItsOwnKeepsThemAndIsFollowedInItsMotion() {
        PracticePortal portal;
        portal.values = {{colorScheme, 1U}, {contrastSetting, 1U}, {gnomeAnimations, false}};
        portal.appear();
        QPalette sepia(QColor(240, 230, 200));
        QApplication::setPalette(sepia);
        const QPalette before = QApplication::palette();
        const auto appearance = DesktopAppearance::follow();
        QTRY_VERIFY(!hasMotion());
        QTRY_VERIFY(portal.reads[colorScheme] > 0);
        QCoreApplication::processEvents();
        QCOMPARE(QApplication::palette(), before);
    }
};

TEST_CLASS(DesktopAppearanceTest, QApplication)
#include "DesktopAppearanceTest.moc"
