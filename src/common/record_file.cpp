#include "common/record_file.hpp"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <utility>

#include "common/fatal_error.hpp"
#include "common/list_directed.hpp"

namespace pelix {

RecordFile::RecordFile(std::string path) : path_(std::move(path)) {
    std::ifstream in(path_);
    if (!in)
        input_error(path_, 0, "file not found");
    for (std::string line; std::getline(in, line);)
        lines_.push_back(std::move(line));
}

bool RecordFile::next(std::vector<std::string>& items) {
    items.clear();
    while (items.empty() && line_ < static_cast<int>(lines_.size())) {
        std::string line = lines_[static_cast<std::size_t>(line_++)];
        line = line.substr(0, line.find('#'));
        std::replace(line.begin(), line.end(), ',', ' ');
        std::istringstream in(line);
        for (std::string item; in >> item;)
            items.push_back(item);
    }
    return !items.empty();
}

void RecordFile::fail(const std::string& what) const {
    input_error(path_, line_, what);
}

void RecordFile::expect(const std::vector<std::string>& items, std::size_t n,
                        const std::string& shape) const {
    if (items.size() != n)
        fail("expected '" + shape + "' (" + std::to_string(n) + " items), found " +
             std::to_string(items.size()));
}

double RecordFile::real(const std::string& item) const {
    double value = 0.0;
    try {
        value = parse_list_real(item);
    } catch (const std::invalid_argument&) {
        fail("expected a number, found '" + item + "'");
    }
    if (!std::isfinite(value))
        fail("expected a finite number, found '" + item + "'");
    return value;
}

}  // namespace pelix
