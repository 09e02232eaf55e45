// Text helpers on ICU: the white-space sets, case mapping, numbers, dates and whole-text
// regular expressions, with the answers the screens rely on.

#include "quillgate/platform/Text.h"

#include <gtest/gtest.h>

#include <chrono>

namespace quillgate::platform::text {
namespace {

using std::chrono::hours;
using std::chrono::minutes;
using std::chrono::seconds;

// Sets the default locale for one test and puts the previous one back.
class DefaultLocale {
  public:
    explicit DefaultLocale(const char* id) : previous_(defaultLocale()) { setDefaultLocale(id); }
    ~DefaultLocale() { setDefaultLocale(previous_); }

  private:
    std::string previous_;
};

TimePoint utc(int y, unsigned m, unsigned d, int h = 0, int min = 0, int s = 0) {
    using namespace std::chrono;
    return sys_days{year{y} / month{m} / day{d}} + hours{h} + minutes{min} + seconds{s};
}

TEST(TextBlank, TheTwoWhiteSpaceSetsDifferInNewlinesOnly) {
    EXPECT_TRUE(isBlank(""));
    EXPECT_TRUE(isBlank(" \t\r\n"));
    EXPECT_TRUE(
        isBlank("\u00A0\u2003\u3000\u2028\u0085"));  // no-break, em, ideographic, line sep, NEL
    EXPECT_FALSE(isBlank(" a "));
    EXPECT_FALSE(isBlank("\u200B"));  // zero width space is not white space
    EXPECT_TRUE(isNotBlank("x"));

    EXPECT_TRUE(isBlankIgnoringNewlines(" \t\u00A0\u2003"));
    EXPECT_FALSE(isBlankIgnoringNewlines(" \n "));
    EXPECT_FALSE(isBlankIgnoringNewlines("\u2028"));
    EXPECT_EQ(trimmedWhitespace(" \t\nText\n\u00A0"), "\nText\n");
    EXPECT_EQ(trimmed(" \t\nText body\n\u00A0\u3000"), "Text body");
    EXPECT_EQ(trimmed("\n\n"), "");

    EXPECT_FALSE(isBlank("\xff\xfe"));
    EXPECT_EQ(trimmed(" \xff "), "\xEF\xBF\xBD");  // one replacement character
}

TEST(TextCase, MappingIsFullAndLocaleIndependentAndCapitalizedLowersTheRest) {
    DefaultLocale turkish("tr_TR");
    EXPECT_EQ(uppercased("straße"), "STRASSE");
    EXPECT_EQ(lowercased("ÉCOLE İ I"), "école i̇ i");  // root rules, not Turkish dotless i
    EXPECT_EQ(uppercased("noto sans tamil ä"), "NOTO SANS TAMIL Ä");

    EXPECT_EQ(capitalized("noto sans TAMIL"), "Noto Sans Tamil");
    EXPECT_EQ(capitalized("Merriweather-Regular"), "Merriweather-Regular");
    EXPECT_EQ(capitalized("poppins-SemiBold"), "Poppins-Semibold");
    EXPECT_EQ(capitalized("élan vital"), "Élan Vital");
    EXPECT_EQ(capitalized(""), "");
}

TEST(TextNumber, FractionDigitsHalfEvenRoundingAndTheLocalesSeparators) {
    EXPECT_EQ(formatDecimal(12.0, 0, 0, "en_US"), "12");
    EXPECT_EQ(formatDecimal(12.5, 0, 2, "en_US"), "12.5");
    EXPECT_EQ(formatDecimal(12.5, 2, 2, "en_US"), "12.50");
    EXPECT_EQ(formatDecimal(0.125, 0, 2, "en_US"), "0.12");  // exact half: to even
    EXPECT_EQ(formatDecimal(0.375, 0, 2, "en_US"), "0.38");
    EXPECT_EQ(formatDecimal(2.5, 0, 0, "en_US"), "2");
    EXPECT_EQ(formatDecimal(3.5, 0, 0, "en_US"), "4");
    EXPECT_EQ(formatDecimal(1234567.891, 0, 2, "en_US"), "1,234,567.89");
    EXPECT_EQ(formatDecimal(-0.5, 0, 0, "en_US"), "-0");

    {
        DefaultLocale german("de_DE");
        EXPECT_EQ(defaultLocale(), "de_DE");
        EXPECT_EQ(formatDecimal(1234.5, 0, 2), "1.234,5");
    }
    EXPECT_EQ(formatDecimal(1234.5, 0, 2, "hi_IN"), "1,234.5");
    EXPECT_EQ(formatDecimal(1234567.0, 0, 0, "hi_IN"), "12,34,567");
    EXPECT_EQ(formatDecimal(1.0, 5, 2, "en_US"), "1.00");  // min beyond max is clamped
}

TEST(TextDate, ParsesTheCountdownFormatWholeWhateverTheDefaultLocale) {
    DefaultLocale german("de_DE");
    const char* pattern = "EEE MMM d yyyy HH:mm:ss 'GMT'Z";
    EXPECT_EQ(parseDate("Mon Jan 1 2024 10:00:00 GMT+0530", pattern), utc(2024, 1, 1, 4, 30));
    EXPECT_EQ(parseDate("Fri Dec 31 2027 23:59:59 GMT-0100", pattern), utc(2028, 1, 1, 0, 59, 59));
    for (const char* text :
         {"Mon Jan 1 2024 10:00:00 GMT+5:30",  // ICU alone would read +05:00
          "Mon Jan 1 2024 10:00:00 GMT+0530 (India Standard Time)", "Mon Jan 1 2024",
          "Mon Jan 32 2024 10:00:00 GMT+0530", "", "\xff\xfe"}) {
        EXPECT_FALSE(parseDate(text, pattern)) << text;
    }
    EXPECT_FALSE(parseDate("Mon Jan 1 2024 10:00:00 GMT+0530", "EEE MMM d yyyy HH:mm:ss"));
}

// Days, then the hours, minutes and seconds that remain, as "days:hours:minutes:seconds".
std::string differenceText(TimePoint from, TimePoint to) {
    const DateDifference d = dateDifference(from, to);
    return std::to_string(d.days) + ":" + std::to_string(d.hours) + ":" +
           std::to_string(d.minutes) + ":" + std::to_string(d.seconds);
}

TEST(TextDate, DifferenceInDaysThenRemainingHoursMinutesSeconds) {
    const TimePoint from = utc(2024, 2, 28, 22, 0, 0);
    EXPECT_EQ(differenceText(from, utc(2024, 3, 2, 1, 2, 3)), "2:3:2:3");  // leap year
    EXPECT_EQ(differenceText(from, from - hours(25) - seconds(1)), "-1:-1:0:-1");
    EXPECT_EQ(differenceText(from, from + std::chrono::milliseconds(999)), "0:0:0:0");
}

TEST(TextRegex, WholeTextMatchesWithUnicodeDigitsAndNothingForAnInvalidPattern) {
    const char* email = "[A-Z0-9a-z._%+-]+@[A-Za-z0-9.-]+\\.[A-Za-z]{2,64}";
    EXPECT_TRUE(matchesWhole(email, "reader@example.com"));
    EXPECT_FALSE(matchesWhole(email, "reader@example.com and more"));
    EXPECT_FALSE(matchesWhole(email, " reader@example.com"));
    EXPECT_TRUE(matchesWhole("\\d{10}", "9876543210"));
    EXPECT_FALSE(matchesWhole("\\d{10}", "98765432100"));

    EXPECT_TRUE(matchesWhole("\\d{4}", "\u0661\u0662\u0663\u0664"));  // Arabic-Indic
    EXPECT_TRUE(matchesWhole("\\d{3}", "\u0967\u0968\u0969"));        // Devanagari
    EXPECT_FALSE(matchesWhole("[0-9]{4}", "\u0661\u0662\u0663\u0664"));

    EXPECT_FALSE(matchesWhole("([a-z", "abc"));
    EXPECT_FALSE(matchesWhole("([a-z", "abc"));  // cached as invalid, same answer
    EXPECT_FALSE(matchesWhole("*", ""));
    EXPECT_TRUE(matchesWhole("", ""));
}

}  // namespace
}  // namespace quillgate::platform::text
