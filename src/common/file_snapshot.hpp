#pragma once
// The bytes of a text file as they were when it was last parsed, so that a reader called at
// every force call can skip parsing a file that has not changed. The comparison is on the
// whole content, byte for byte: a reused result is exactly what a fresh parse would give, and
// any change to the file is picked up at the next read.
#include <string>

namespace pelix {

class FileSnapshot {
  public:
    // Reads `path` whole and tells whether it holds exactly the bytes of the last parse. A
    // file that cannot be read is never unchanged (its reader then reports the error).
    bool unchanged(const std::string& path);
    // Records the bytes read by the last `unchanged` as parsed. Call only once the parse of
    // those bytes has succeeded.
    void record();
    // Forgets the last parse (before a parse that may fail halfway).
    void clear();

  private:
    std::string parsed_;
    std::string fresh_;
    bool has_parsed_ = false;
};

}  // namespace pelix
