// BareWindow [--closed]: a Qt Widgets window with nothing in it, or the program of one that was closed.

#include <QApplication>
#include <QWidget>

#include <cstring>

int main(int argc, char **argv) {
    QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    QWidget window;
    window.resize(1000, 640);
    if (argc < 2 || std::strcmp(argv[1], "--closed") != 0)
        window.show();
    return QApplication::exec();
}
