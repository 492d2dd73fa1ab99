#include <gtest/gtest.h>

#include "platform/qt/accessibility/accessibility.h"

namespace velunor {
namespace {

QString nameOf(QObject* said) {
    return QAccessible::queryAccessibleInterface(said)->text(QAccessible::Name);
}

TEST(AnnouncerTest, WhatWasSaidKeepsItsText) {
    Announcer announcer;
    announcer.announce("first");
    QObject* first = announcer.children().constLast();
    announcer.announce("second");

    EXPECT_EQ(nameOf(first), "first");
    EXPECT_EQ(nameOf(announcer.children().constLast()), "second");
    EXPECT_EQ(announcer.lastText(), "second");
}

TEST(AnnouncerTest, SaysNothingWhereThereIsNoText) {
    Announcer announcer;
    announcer.announce("");

    EXPECT_TRUE(announcer.children().isEmpty());
    EXPECT_EQ(announcer.lastText(), "");
}

TEST(AnnouncerTest, ForgetsWhatWasSaidLongAgo) {
    Announcer announcer;
    for (int number = 0; number < 100; ++number) {
        announcer.announce(QString::number(number));
    }

    EXPECT_LT(announcer.children().size(), 10);
    EXPECT_EQ(announcer.lastText(), "99");
}

}  // namespace
}  // namespace velunor
