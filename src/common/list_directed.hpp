#pragma once
// The one list-directed text reader behind every input file of the engine.
//
// A record is one line. Values are separated by blanks or commas; character values may be
// bare (up to the next blank, comma or slash) or quoted ('..' or "..", a doubled quote
// stands for one); a slash ends the items of the record (values not yet read keep what the
// caller had); "r*value" repeats a value and an empty item between two commas is a null
// (the target keeps its value). When a read needs more values than a record holds, it goes
// on with the next record, as list-directed input does; once the needed values are read, the
// rest of the record is ignored. Logicals are T, F, .TRUE., .FALSE. in any case (the leading
// letter, after an optional '.', decides). Character values are blank-padded or cut to the
// width of their field.
//
// Every failure (missing file, end of file, a value that does not parse as its type) raises
// pelix::input_error naming the file, the line, the setting and what was found.
#include <cstdint>
#include <fstream>
#include <string>
#include <variant>
#include <vector>

namespace pelix {

// Where a list-directed read stores one value: the target keeps its value on a null item or
// after a slash.
struct ListTarget {
    enum class Kind { Integer, Real, Logical, Character };
    Kind kind;
    void* target;
    std::size_t width;  // field width for Character
    std::string name;   // the setting's name, for error messages
};

inline ListTarget int_item(int32_t& v, std::string name) {
    return {ListTarget::Kind::Integer, &v, 0, std::move(name)};
}
inline ListTarget real_item(double& v, std::string name) {
    return {ListTarget::Kind::Real, &v, 0, std::move(name)};
}
inline ListTarget logical_item(bool& v, std::string name) {
    return {ListTarget::Kind::Logical, &v, 0, std::move(name)};
}
inline ListTarget char_item(std::string& v, std::size_t width, std::string name) {
    return {ListTarget::Kind::Character, &v, width, std::move(name)};
}

class ListDirectedFile {
  public:
    // Opens an existing file for reading; a missing or unreadable file is an input error.
    explicit ListDirectedFile(std::string path);

    const std::string& path() const { return path_; }
    // 1-based number of the last record read (0 before the first read).
    int line_number() const { return line_number_; }

    // One list-directed read statement: fills the targets in order, starting at the next
    // record and going on to further records if needed.
    void read(const std::vector<ListTarget>& targets);

    // Skips one record (a read with no items).
    void skip_record(const std::string& what);

    // The next record as raw text, for fixed-column fields. End of file is an input error
    // naming `what`.
    std::string read_raw_line(const std::string& what);

  private:
    bool next_line(std::string& line);

    std::string path_;
    std::ifstream in_;
    int line_number_ = 0;
};

// Parses one value of the given kind from the text of a single item (no separators); throws
// std::invalid_argument when it does not parse. Shared with the fixed-column readers.
int32_t parse_list_integer(const std::string& item);
double parse_list_real(const std::string& item);
bool parse_list_logical(const std::string& item);

}  // namespace pelix
