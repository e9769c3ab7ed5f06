// SPDX-License-Identifier: GPL-3.0-or-later
// What nearly every test program needs.
#pragma once

#include "testing/Table.h"
#include "testing/TestHome.h"

#include <QCoreApplication>
#include <QTest>

/// The main function of a test class: what is to be done first, a private home, then the application object,
/// then the tests.
#define TAVLIN_TEST_MAIN(ApplicationClass, TestClass, ...) \
    int main(int argc, char** argv) {                      \
        __VA_ARGS__;                                       \
        const TestHome home;                               \
        ApplicationClass application(argc, argv);          \
        TestClass test;                                    \
        return QTest::qExec(&test, argc, argv);            \
    }
