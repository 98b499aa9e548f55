#include <gtest/gtest.h>

#include <stdexcept>

#include "common/list_directed.hpp"
#include "scratch_dir.hpp"

namespace pelix {
namespace {

using test_support::input_error_text;
using test_support::ScratchDir;

TEST(ListDirected, SeparatorsQuotesAndCharacterWidths) {
    ScratchDir dir;
    ListDirectedFile file(dir.write("in.txt",
                                    "1, 2.5  'it''s a, b/c'\tT  label\n"
                                    "\"say \"\"hi\"\"\" bare,next\n"
                                    "ABCDEFG  AB\r\n"));
    int32_t i = 0;
    double r = 0.0;
    std::string quoted, dq, bare, cut, padded;
    bool flag = false;
    file.read(
        {int_item(i, "I"), real_item(r, "R"), char_item(quoted, 12, "Q"), logical_item(flag, "L")});
    EXPECT_EQ(i, 1);
    EXPECT_DOUBLE_EQ(r, 2.5);
    EXPECT_EQ(quoted, "it's a, b/c ");
    EXPECT_TRUE(flag);
    file.read({char_item(dq, 8, "A"), char_item(bare, 6, "B")});
    EXPECT_EQ(dq, "say \"hi\"");
    EXPECT_EQ(bare, "bare  ");  // "next" is left unread
    file.read({char_item(cut, 3, "C"), char_item(padded, 4, "P")});
    EXPECT_EQ(cut, "ABC");
    EXPECT_EQ(padded, "AB  ");
    EXPECT_EQ(file.line_number(), 3);
}

TEST(ListDirected, NullsRepeatsSlashAndContinuation) {
    ScratchDir dir;
    ListDirectedFile file(dir.write("in.txt",
                                    "3*7 2*  9\n"
                                    ",5,,6\n"
                                    "4 / 99\n"
                                    "  1\n"
                                    "\n"
                                    "2 3 label 4.5\n"
                                    "2*'x' T\n"
                                    "10\n"));
    int32_t v[6] = {-1, -1, -1, -1, -1, -1};
    auto six = [&v] {
        std::vector<ListTarget> t;
        for (int k = 0; k < 6; ++k)
            t.push_back(int_item(v[k], "V" + std::to_string(k)));
        return t;
    };
    file.read(six());
    EXPECT_EQ(std::vector<int32_t>(v, v + 6), (std::vector<int32_t>{7, 7, 7, -1, -1, 9}));

    int32_t a = -1, b = -1, c = -1, d = -1;
    file.read({int_item(a, "A"), int_item(b, "B"), int_item(c, "C"), int_item(d, "D")});
    EXPECT_EQ(std::vector<int32_t>({a, b, c, d}), (std::vector<int32_t>{-1, 5, -1, 6}));

    a = b = c = -1;
    file.read({int_item(a, "A"), int_item(b, "B"), int_item(c, "C")});
    EXPECT_EQ(std::vector<int32_t>({a, b, c}), (std::vector<int32_t>{4, -1, -1}));

    // Three values over three records (one of them empty); the rest of the last is ignored.
    file.read({int_item(a, "A"), int_item(b, "B"), int_item(c, "C")});
    EXPECT_EQ(std::vector<int32_t>({a, b, c}), (std::vector<int32_t>{1, 2, 3}));
    EXPECT_EQ(file.line_number(), 6);

    std::string s1, s2;
    file.read({char_item(s1, 1, "S1"), char_item(s2, 1, "S2")});
    EXPECT_EQ(s1 + s2, "xx");
    file.read({int_item(a, "A")});
    EXPECT_EQ(a, 10);
}

TEST(ListDirected, ValueForms) {
    for (const char* t : {"T", "t", ".TRUE.", ".true.", "Tomato", ".t"}) {
        EXPECT_TRUE(parse_list_logical(t)) << t;
    }
    for (const char* f : {"F", "f", ".FALSE.", ".False", "fx"}) {
        EXPECT_FALSE(parse_list_logical(f)) << f;
    }
    for (const char* bad : {"X", ".", "", "1", "yes"}) {
        EXPECT_THROW(parse_list_logical(bad), std::invalid_argument) << bad;
    }

    EXPECT_EQ(parse_list_integer("+42"), 42);
    EXPECT_EQ(parse_list_integer("-7"), -7);
    EXPECT_EQ(parse_list_integer("  12 "), 12);  // fixed-column fields keep their blanks
    for (const char* bad : {"3.5", "abc", "", "-", "+-1", "1e3", "3000000000"}) {
        EXPECT_THROW(parse_list_integer(bad), std::invalid_argument) << bad;
    }

    const std::pair<const char*, double> reals[] = {
        {"1", 1.0},        {"1.5", 1.5},       {".5", 0.5},       {"5.", 5.0},
        {"1.5e3", 1500.0}, {"1.5E-3", 1.5e-3}, {"1.5d3", 1500.0}, {"1.5D-3", 1.5e-3},
        {"-2.25", -2.25},  {"+3", 3.0},        {"1.5+2", 150.0},  {"-.5E+1", -5.0}};
    for (const auto& [text, value] : reals)
        EXPECT_DOUBLE_EQ(parse_list_real(text), value) << text;
    for (const char* bad : {"abc", ".", "1.5e", "1.5x", "e3", "1..5", "1e999", "--1"}) {
        EXPECT_THROW(parse_list_real(bad), std::invalid_argument) << bad;
    }
}

TEST(ListDirected, ErrorsNameFileLineSettingAndFound) {
    ScratchDir dir;
    const std::string path = dir.write("pelix.IN", "0.5\nabc\n");
    ListDirectedFile file(path);
    double dt = 0.0;
    file.read({real_item(dt, "PCSKIN")});
    EXPECT_EQ(input_error_text([&] { file.read({real_item(dt, "DT")}); }),
              path + " line 2: expected a real number (DT), found \"abc\"");
    EXPECT_EQ(input_error_text([&] { file.read({real_item(dt, "RUNTIM")}); }),
              path + " line 3: expected RUNTIM, found end of file");
    EXPECT_EQ(input_error_text([&] { file.read_raw_line("BGORCT"); }),
              path + " line 3: expected BGORCT, found end of file");

    auto first_read_error = [&dir](const std::string& text, ListTarget target) {
        ListDirectedFile f(dir.write("bad.txt", text));
        return input_error_text([&] { f.read({target}); });
    };
    int32_t n = 0;
    bool flag = false;
    std::string s;
    EXPECT_NE(
        first_read_error("3.5\n", int_item(n, "N")).find("expected an integer (N), found \"3.5\""),
        std::string::npos);
    EXPECT_NE(first_read_error("'5'\n", int_item(n, "N")).find("found \"'5'\""), std::string::npos);
    EXPECT_NE(first_read_error("maybe\n", logical_item(flag, "FLAG"))
                  .find("line 1: expected a logical value (T or F) (FLAG), found \"maybe\""),
              std::string::npos);
    EXPECT_NE(first_read_error("'open\n", char_item(s, 4, "S")).find("closing quote is missing"),
              std::string::npos);
    EXPECT_NE(first_read_error("0*1\n", int_item(n, "N")).find("repeat count"), std::string::npos);

    const std::string missing = dir.path("lattice.IN");
    EXPECT_EQ(input_error_text([&] { ListDirectedFile f(missing); }), missing + ": file not found");
}

}  // namespace
}  // namespace pelix
