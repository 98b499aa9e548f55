#include "common/file_snapshot.hpp"

#include <filesystem>
#include <fstream>
#include <system_error>

namespace pelix {

bool FileSnapshot::unchanged(const std::string& path) {
    fresh_.clear();
    std::error_code ec;
    const auto size = std::filesystem::file_size(path, ec);
    if (ec)
        return false;
    std::ifstream in(path, std::ios::binary);
    if (!in)
        return false;
    fresh_.resize(static_cast<std::size_t>(size));
    in.read(fresh_.data(), static_cast<std::streamsize>(size));
    if (static_cast<std::size_t>(in.gcount()) != fresh_.size() || in.peek() != EOF) {
        // The file changed while it was read: treat it as new.
        fresh_.clear();
        return false;
    }
    if (has_parsed_ && fresh_ == parsed_) {
        fresh_.clear();
        return true;
    }
    return false;
}

void FileSnapshot::record() {
    parsed_ = std::move(fresh_);
    fresh_.clear();
    has_parsed_ = true;
}

void FileSnapshot::clear() {
    parsed_.clear();
    has_parsed_ = false;
}

}  // namespace pelix
