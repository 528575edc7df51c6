// PlainWindow [--closed]: a plain Qt window with two consoles that nothing is written into, or the program of
// one that was closed.

#include <QApplication>
#include <QFontDatabase>
#include <QHBoxLayout>
#include <QPlainTextEdit>

#include <cstring>

int main(int argc, char **argv) {
    QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    QWidget window;
    auto *const layout = new QHBoxLayout(&window);
    for (int i = 0; i < 2; ++i) {
        auto *const console = new QPlainTextEdit;
        console->setReadOnly(true);
        console->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
        layout->addWidget(console);
    }
    window.resize(1000, 640);
    if (argc < 2 || std::strcmp(argv[1], "--closed") != 0)
        window.show();
    return QApplication::exec();
}
