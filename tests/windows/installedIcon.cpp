// Says on standard output what icon the inventory gives of a program, in a process as the program's own,
// whose displays may be scaled from its start on: installedIcon PROGRAM

#include "platform/InventorySources.h"

#include <QGuiApplication>

#include <cstdio>

int main(int argc, char* argv[]) {
    const QGuiApplication application(argc, argv);
    const QImage picture = installedProgramIcon(QGuiApplication::arguments().value(1)).value_or(QImage());
    std::printf("display %g: %dx%d at %g\n", application.devicePixelRatio(), picture.width(),
                picture.height(), picture.devicePixelRatio());
}
