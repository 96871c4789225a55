// What reaches a terminal: text as it is when it is harmless, every control character and every
// byte that is no UTF-8 written so that it shows instead of acting.
#include "Report.hpp"

#include <gtest/gtest.h>

using kfhost::validate::Printable;

TEST(Report, PrintableKeepsTextAndShowsWhatWouldAct)
{
    EXPECT_EQ(Printable("Grüße, 東京 <&>"), "Grüße, 東京 <&>");
    EXPECT_EQ(Printable("\x1b[2Jred\x07"), "\\x1b[2Jred\\x07");
    EXPECT_EQ(Printable("\xc2\x9b"
                        "31m"),
              "\\u009b31m"); // the one-byte form of ESC [
    EXPECT_EQ(Printable("a\xff\xfe"
                        "b"),
              "a\\xff\\xfeb");
    EXPECT_EQ(Printable("\xed\xa0\x80"), "\\xed\\xa0\\x80"); // an encoded surrogate is no UTF-8
    EXPECT_EQ(Printable("tab\there\nline"), "tab\\there\\x0aline");
    EXPECT_EQ(Printable("one\ntwo\r\n", true), "one\ntwo\\x0d\n");
}
