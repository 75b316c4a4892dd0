// Texts of a damaged database, and texts in XML.
#include "evidence/Utf8.h"

#include <gtest/gtest.h>

#include "evidence/XmlText.h"

namespace workstation::evidence {
namespace {

TEST(ValidUtf8, KeepsCharactersOfEveryLength) {
    std::string const text = "a ~ \u00A0 \u00E9 \u20AC \U0001F4F7";
    EXPECT_EQ(ValidUtf8(text, "?"), text);
}

TEST(ValidUtf8, ReplacesEachByteThatIsNoCharacter) {
    EXPECT_EQ(ValidUtf8("a\x80z", "?"), "a?z");
    EXPECT_EQ(ValidUtf8("cut \xE2\x82", "?"), "cut ??");
    EXPECT_EQ(ValidUtf8("long \xC0\xAF", "?"), "long ??");
    EXPECT_EQ(ValidUtf8("half \xED\xA0\x80", "?"), "half ???");
    EXPECT_EQ(ValidUtf8("far \xF4\x90\x80\x80", "?"), "far ????");
    EXPECT_EQ(ValidUtf8("none \xEF\xBF\xBF \xFF", "?"), "none ??? ?");
}

TEST(ValidUtf8, ReplacesControlCharacters) {
    EXPECT_EQ(ValidUtf8(std::string("a\0b\n\x1B\x7F\xC2\x85", 8), "?"), "a?b???"
                                                                        "??");
}

TEST(XmlText, HasNoMarkup) {
    EXPECT_EQ(XmlText("<a href='x'>\"&amp;\"</a>\x01"),
              "&lt;a href=&#39;x&#39;&gt;&quot;&amp;amp;&quot;&lt;/a&gt;\uFFFD");
}

} // namespace
} // namespace workstation::evidence
