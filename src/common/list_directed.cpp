#include "common/list_directed.hpp"

#include <cctype>
#include <charconv>
#include <filesystem>
#include <stdexcept>
#include <string_view>
#include <system_error>

#include "common/fatal_error.hpp"
#include "common/fixed_string.hpp"

namespace pelix {

namespace {

bool is_blank(char c) {
    return c == ' ' || c == '\t';
}
bool is_digit(char c) {
    return c >= '0' && c <= '9';
}
// A bare (unquoted) value runs up to the next blank, comma or slash.
bool ends_bare_value(char c) {
    return is_blank(c) || c == ',' || c == '/';
}

std::string_view trim_blanks(std::string_view s) {
    while (!s.empty() && is_blank(s.front()))
        s.remove_prefix(1);
    while (!s.empty() && is_blank(s.back()))
        s.remove_suffix(1);
    return s;
}

// Length of the run of decimal digits that starts at `from`.
std::size_t digit_run(std::string_view s, std::size_t from) {
    std::size_t end = from;
    while (end < s.size() && is_digit(s[end]))
        ++end;
    return end - from;
}

// One item of a record as the scanner sees it.
struct ListItem {
    enum class Kind { Value, Null, Slash, EndOfRecord };
    Kind kind = Kind::EndOfRecord;
    std::string value;  // quotes removed, a doubled quote undone
    std::string text;   // the value as written, for messages
    bool quoted = false;
    int64_t repeat = 1;
};

// An item whose syntax is broken (an unclosed quote, a zero repeat count, ...).
struct ItemSyntaxError {
    std::string found;
    std::string why;
};

// Splits one record into items, one at a time, so that text after the last needed value
// (usually a label) is never looked at.
class RecordScanner {
  public:
    explicit RecordScanner(std::string_view record) : record_(record) {}

    ListItem next() {
        for (;;) {
            while (pos_ < record_.size() && is_blank(record_[pos_]))
                ++pos_;
            if (pos_ >= record_.size())
                return {};
            const char c = record_[pos_];
            if (c == ',') {
                ++pos_;
                // A comma at the start of the record or right after another comma
                // stands for an empty (null) item.
                if (comma_means_null_)
                    return null_item(",", 1);
                comma_means_null_ = true;
                continue;
            }
            if (c == '/') {
                pos_ = record_.size();
                ListItem slash;
                slash.kind = ListItem::Kind::Slash;
                return slash;
            }
            comma_means_null_ = false;
            return scan_value();
        }
    }

  private:
    static ListItem null_item(std::string text, int64_t repeat) {
        ListItem item;
        item.kind = ListItem::Kind::Null;
        item.text = std::move(text);
        item.repeat = repeat;
        return item;
    }

    std::size_t bare_end(std::size_t from) const {
        std::size_t end = from;
        while (end < record_.size() && !ends_bare_value(record_[end]))
            ++end;
        return end;
    }

    ListItem scan_value() {
        const std::size_t start = pos_;
        int64_t repeat = 1;
        const std::size_t digits = digit_run(record_, pos_);
        if (digits > 0 && pos_ + digits < record_.size() && record_[pos_ + digits] == '*') {
            const char* first = record_.data() + pos_;
            const auto [ptr, ec] = std::from_chars(first, first + digits, repeat);
            pos_ += digits + 1;
            if (ec != std::errc() || repeat <= 0) {
                throw ItemSyntaxError{std::string(record_.substr(start, bare_end(pos_) - start)),
                                      "a repeat count must be a positive integer"};
            }
            if (pos_ >= record_.size() || ends_bare_value(record_[pos_])) {
                return null_item(std::string(record_.substr(start, pos_ - start)), repeat);
            }
        }
        ListItem item;
        item.kind = ListItem::Kind::Value;
        item.repeat = repeat;
        const std::size_t value_start = pos_;
        const char c = record_[pos_];
        if (c == '\'' || c == '"') {
            item.quoted = true;
            std::size_t p = pos_ + 1;
            for (;;) {
                if (p >= record_.size()) {
                    throw ItemSyntaxError{std::string(record_.substr(value_start)),
                                          "the closing quote is missing"};
                }
                if (record_[p] == c) {
                    if (p + 1 < record_.size() && record_[p + 1] == c) {
                        item.value += c;
                        p += 2;
                        continue;
                    }
                    ++p;
                    break;
                }
                item.value += record_[p++];
            }
            if (p < record_.size() && !ends_bare_value(record_[p])) {
                throw ItemSyntaxError{
                    std::string(record_.substr(value_start, bare_end(p) - value_start)),
                    "a quoted value must be followed by a blank, comma or slash"};
            }
            pos_ = p;
            item.text = std::string(record_.substr(value_start, pos_ - value_start));
        } else {
            pos_ = bare_end(pos_);
            item.value = std::string(record_.substr(value_start, pos_ - value_start));
            item.text = item.value;
        }
        return item;
    }

    std::string_view record_;
    std::size_t pos_ = 0;
    bool comma_means_null_ = true;
};

const char* kind_description(ListTarget::Kind kind) {
    switch (kind) {
        case ListTarget::Kind::Integer:
            return "an integer";
        case ListTarget::Kind::Real:
            return "a real number";
        case ListTarget::Kind::Logical:
            return "a logical value T or F";
        case ListTarget::Kind::Character:
            return "a character value";
    }
    return "a value";
}

std::string expectation(const ListTarget& target, const std::string& found) {
    return std::string("expected ") + kind_description(target.kind) + " (" + target.name +
           "), found \"" + found + "\"";
}

// Stores one value in its target; false when the text does not parse as the target's type.
bool store_value(const ListTarget& target, const ListItem& item) {
    if (target.kind == ListTarget::Kind::Character) {
        *static_cast<std::string*>(target.target) = fixed_width(item.value, target.width);
        return true;
    }
    if (item.quoted)
        return false;
    try {
        switch (target.kind) {
            case ListTarget::Kind::Integer:
                *static_cast<int32_t*>(target.target) = parse_list_integer(item.value);
                break;
            case ListTarget::Kind::Real:
                *static_cast<double*>(target.target) = parse_list_real(item.value);
                break;
            case ListTarget::Kind::Logical:
                *static_cast<bool*>(target.target) = parse_list_logical(item.value);
                break;
            case ListTarget::Kind::Character:
                break;
        }
    } catch (const std::invalid_argument&) {
        return false;
    }
    return true;
}

}  // namespace

ListDirectedFile::ListDirectedFile(std::string path) : path_(std::move(path)) {
    std::error_code ec;
    if (!std::filesystem::exists(path_, ec))
        input_error(path_, 0, "file not found");
    if (std::filesystem::is_directory(path_, ec)) {
        input_error(path_, 0, "is a directory, not a file");
    }
    in_.open(path_);
    if (!in_)
        input_error(path_, 0, "the file cannot be opened for reading");
}

bool ListDirectedFile::next_line(std::string& line) {
    if (!std::getline(in_, line)) {
        if (in_.bad())
            input_error(path_, line_number_ + 1, "the line cannot be read");
        return false;
    }
    if (!line.empty() && line.back() == '\r')
        line.pop_back();
    ++line_number_;
    return true;
}

std::string ListDirectedFile::read_raw_line(const std::string& what) {
    std::string line;
    if (!next_line(line)) {
        input_error(path_, line_number_ + 1, "expected " + what + ", found end of file");
    }
    return line;
}

void ListDirectedFile::skip_record(const std::string& what) {
    read_raw_line(what);
}

void ListDirectedFile::read(const std::vector<ListTarget>& targets) {
    if (targets.empty()) {
        skip_record("a record");
        return;
    }
    std::string record;
    std::size_t next_target = 0;
    while (next_target < targets.size()) {
        const ListTarget& target = targets[next_target];
        record = read_raw_line(target.name);
        RecordScanner scanner(record);
        while (next_target < targets.size()) {
            ListItem item;
            try {
                item = scanner.next();
            } catch (const ItemSyntaxError& broken) {
                input_error(path_, line_number_,
                            expectation(targets[next_target], broken.found) + ": " + broken.why);
            }
            if (item.kind == ListItem::Kind::EndOfRecord)
                break;  // go on with the next record
            if (item.kind == ListItem::Kind::Slash)
                return;
            for (int64_t r = 0; r < item.repeat && next_target < targets.size(); ++r) {
                const ListTarget& current = targets[next_target++];
                if (item.kind == ListItem::Kind::Value && !store_value(current, item)) {
                    input_error(path_, line_number_, expectation(current, item.text));
                }
            }
        }
    }
}

int32_t parse_list_integer(const std::string& item) {
    std::string_view s = trim_blanks(item);
    bool negative = false;
    if (!s.empty() && (s.front() == '+' || s.front() == '-')) {
        negative = s.front() == '-';
        s.remove_prefix(1);
    }
    if (s.empty() || digit_run(s, 0) != s.size()) {
        throw std::invalid_argument("not an integer: " + item);
    }
    int64_t magnitude = 0;
    const auto [ptr, ec] = std::from_chars(s.data(), s.data() + s.size(), magnitude);
    const int64_t value = negative ? -magnitude : magnitude;
    if (ec != std::errc() || value < INT32_MIN || value > INT32_MAX) {
        throw std::invalid_argument("integer out of range: " + item);
    }
    return static_cast<int32_t>(value);
}

double parse_list_real(const std::string& item) {
    const std::string_view s = trim_blanks(item);
    std::string normalised;  // sign, mantissa, then "e" and the exponent
    std::size_t p = 0;
    if (p < s.size() && (s[p] == '+' || s[p] == '-')) {
        if (s[p] == '-')
            normalised += '-';
        ++p;
    }
    const std::size_t int_digits = digit_run(s, p);
    normalised += s.substr(p, int_digits);
    p += int_digits;
    std::size_t frac_digits = 0;
    if (p < s.size() && s[p] == '.') {
        frac_digits = digit_run(s, p + 1);
        normalised += s.substr(p, frac_digits + 1);
        p += frac_digits + 1;
    }
    if (int_digits + frac_digits == 0)
        throw std::invalid_argument("not a real number: " + item);
    if (p < s.size()) {
        // The exponent: a letter E, D or Q with an optional sign, or a bare sign.
        const char letter = static_cast<char>(std::toupper(static_cast<unsigned char>(s[p])));
        if (letter == 'E' || letter == 'D' || letter == 'Q')
            ++p;
        normalised += 'e';
        if (p < s.size() && (s[p] == '+' || s[p] == '-'))
            normalised += s[p++];
        const std::size_t exp_digits = digit_run(s, p);
        if (exp_digits == 0 || p + exp_digits != s.size()) {
            throw std::invalid_argument("not a real number: " + item);
        }
        normalised += s.substr(p, exp_digits);
    }
    double value = 0.0;
    const char* first = normalised.data();
    const char* last = first + normalised.size();
    const auto [ptr, ec] = std::from_chars(first, last, value);
    if (ec != std::errc() || ptr != last) {
        throw std::invalid_argument("real number out of range: " + item);
    }
    return value;
}

bool parse_list_logical(const std::string& item) {
    std::string_view s = trim_blanks(item);
    if (!s.empty() && s.front() == '.')
        s.remove_prefix(1);
    if (!s.empty()) {
        if (s.front() == 'T' || s.front() == 't')
            return true;
        if (s.front() == 'F' || s.front() == 'f')
            return false;
    }
    throw std::invalid_argument("not a logical value: " + item);
}

}  // namespace pelix
