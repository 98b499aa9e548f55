#include <gtest/gtest.h>

#include <stdexcept>
#include <tuple>

#include "common/list_directed.hpp"
#include "scratch_dir.hpp"

namespace pelix {
namespace {

using test_support::input_error_text;
using test_support::ScratchDir;

// One read of n integers that start at -1 (kept by null items and after a slash).
std::vector<int32_t> read_ints(ListDirectedFile& file, std::size_t n) {
    std::vector<int32_t> values(n, -1);
    std::vector<ListTarget> targets;
    for (auto& v : values)
        targets.push_back(int_item(v, "V"));
    file.read(targets);
    return values;
}

TEST(ListDirected, SeparatorsQuotesWidthsNullsRepeatsSlashAndContinuation) {
    ScratchDir dir;
    ListDirectedFile file(dir.write("in.txt",
                                    "1, 2.5  'it''s a, b/c'\tT  label\n"
                                    "\"say \"\"hi\"\"\" bare,next\n"
                                    "ABCDEFG  AB\r\n"
                                    "3*7 2*  9\n,5,,6\n4 / 99\n  1\n\n2 3 label 4.5\n2*'x' T\n"));
    int32_t i = 0;
    double r = 0.0;
    std::string quoted, dq, bare, cut, padded, s1, s2;
    bool flag = false;
    file.read(
        {int_item(i, "I"), real_item(r, "R"), char_item(quoted, 12, "Q"), logical_item(flag, "L")});
    EXPECT_TRUE(i == 1 && r == 2.5 && flag);
    EXPECT_EQ(quoted, "it's a, b/c ");
    file.read({char_item(dq, 8, "A"), char_item(bare, 6, "B")});
    EXPECT_EQ(dq + "|" + bare, "say \"hi\"|bare  ");  // "next" is left unread
    file.read({char_item(cut, 3, "C"), char_item(padded, 4, "P")});
    EXPECT_EQ(cut + "|" + padded, "ABC|AB  ");
    EXPECT_EQ(read_ints(file, 6), (std::vector<int32_t>{7, 7, 7, -1, -1, 9}));
    EXPECT_EQ(read_ints(file, 4), (std::vector<int32_t>{-1, 5, -1, 6}));
    EXPECT_EQ(read_ints(file, 3), (std::vector<int32_t>{4, -1, -1}));
    // Three values over three records (one of them empty); the rest of the last is ignored.
    EXPECT_EQ(read_ints(file, 3), (std::vector<int32_t>{1, 2, 3}));
    EXPECT_EQ(file.line_number(), 9);
    file.read({char_item(s1, 1, "S1"), char_item(s2, 1, "S2")});
    EXPECT_EQ(s1 + s2, "xx");
}

TEST(ListDirected, ValueForms) {
    for (const char* t : {"T", "t", ".TRUE.", ".true.", "Tomato", ".t"})
        EXPECT_TRUE(parse_list_logical(t)) << t;
    for (const char* f : {"F", "f", ".FALSE.", ".False", "fx"})
        EXPECT_FALSE(parse_list_logical(f)) << f;
    for (const char* bad : {"X", ".", "", "1", "yes"})
        EXPECT_THROW(parse_list_logical(bad), std::invalid_argument) << bad;
    const std::pair<const char*, int32_t> ints[] = {{"+42", 42}, {"-7", -7}, {"  12 ", 12}};
    for (const auto& [text, value] : ints)
        EXPECT_EQ(parse_list_integer(text), value) << text;
    for (const char* bad : {"3.5", "abc", "", "-", "+-1", "1e3", "3000000000"})
        EXPECT_THROW(parse_list_integer(bad), std::invalid_argument) << bad;
    const std::pair<const char*, double> reals[] = {
        {"1", 1.0},        {"1.5", 1.5},       {".5", 0.5},       {"5.", 5.0},
        {"1.5e3", 1500.0}, {"1.5E-3", 1.5e-3}, {"1.5d3", 1500.0}, {"1.5D-3", 1.5e-3},
        {"-2.25", -2.25},  {"+3", 3.0},        {"1.5+2", 150.0},  {"-.5E+1", -5.0}};
    for (const auto& [text, value] : reals)
        EXPECT_DOUBLE_EQ(parse_list_real(text), value) << text;
    for (const char* bad : {"abc", ".", "1.5e", "1.5x", "e3", "1..5", "1e999", "--1"})
        EXPECT_THROW(parse_list_real(bad), std::invalid_argument) << bad;
}

// Input errors name the file, the line, the setting and what was found there.
TEST(ListDirected, ErrorsNameFileLineSettingAndFound) {
    ScratchDir dir;
    const std::string path = dir.path("in.txt");
    int32_t n = 0;
    double r = 0.0;
    bool flag = false;
    std::string s;
    const std::tuple<const char*, ListTarget, std::string> cases[] = {
        {"\n'5'\n", int_item(n, "N"), " line 2: expected an integer (N), found \"'5'\""},
        {"1..5\n", real_item(r, "R"), " line 1: expected a real number (R), found \"1..5\""},
        {"maybe\n", logical_item(flag, "F"),
         " line 1: expected a logical value T or F (F), found \"maybe\""},
        {"'a''b\n", char_item(s, 4, "S"),
         " line 1: expected a character value (S), found \"'a''b\": the closing quote is missing"},
        {"0*1\n", int_item(n, "N"),
         " line 1: expected an integer (N), found \"0*1\": a repeat count must be a positive "
         "integer"}};
    for (const auto& [text, target, message] : cases) {
        ListDirectedFile file(dir.write("in.txt", text));
        EXPECT_EQ(input_error_text([&] { file.read({target}); }), path + message);
    }
}

}  // namespace
}  // namespace pelix
