// The least that a program with Qt's windows does: it starts, and ends.

#include <QGuiApplication>

int main(int argc, char** argv)
{
    const QGuiApplication application(argc, argv);
    return 0;
}
