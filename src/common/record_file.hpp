#pragma once
// The small parameter files of the potential families ("acknial.IN", the nickel files of
// "GIOVANI", the pair files of the ionic families): one record per line, items separated by blanks
// or commas, '#' and what follows it a comment, blank lines skipped. Every failure is an input
// error naming the file and line.
#include <string>
#include <vector>

namespace pelix {

class RecordFile {
  public:
    // Opens the file; one that cannot be read is an input error.
    explicit RecordFile(std::string path);

    // The items of the next record, false at the end of the file.
    bool next(std::vector<std::string>& items);

    [[noreturn]] void fail(const std::string& what) const;
    // Stops unless the record has n items; `shape` names them for the message.
    void expect(const std::vector<std::string>& items, std::size_t n,
                const std::string& shape) const;
    // A finite number, or a stop naming the item.
    double real(const std::string& item) const;

    const std::string& path() const { return path_; }
    int line() const { return line_; }

  private:
    std::string path_;
    std::vector<std::string> lines_;
    int line_ = 0;
};

}  // namespace pelix
