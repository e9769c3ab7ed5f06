// SPDX-License-Identifier: GPL-3.0-or-later
// The floor of the start: a bare main window of the toolkit, linked to nothing but that.
#include "bench/EndAfterFirstFrame.h"

#include <QApplication>
#include <QMainWindow>
#include <QMenuBar>
#include <QSplitter>
#include <QTreeView>

int main(int argc, char** argv) {
    const QApplication application(argc, argv);
    QMainWindow window;
    window.menuBar()->addMenu(QStringLiteral("File"));
    auto* splitter = new QSplitter(&window);
    splitter->addWidget(new QTreeView);
    splitter->addWidget(new QTreeView);
    window.setCentralWidget(splitter);
    window.resize(1180, 760);
    new EndAfterFirstFrame(window);
    window.show();
    return QApplication::exec();
}
