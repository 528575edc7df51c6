// Paste: asks for the clipboard's text, as any program does when its user pastes, and prints how many bytes
// came.

#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>

#include <cstdio>

int main(int argc, char **argv) {
    QGuiApplication application(argc, argv);
    const QMimeData *const found = QGuiApplication::clipboard()->mimeData();
    std::printf("%lld\n", static_cast<long long>(
                              found ? found->data(QStringLiteral("text/plain;charset=utf-8")).size() : -1));
    return 0;
}
