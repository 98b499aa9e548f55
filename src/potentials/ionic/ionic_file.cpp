// The parameter files of the ionic keywords ("buck.IN" and "<KEYWORD>.IN"): one record per
// species pair, items separated by blanks or commas, '#' starts a comment.
//
//   buck  A B  A rho C            R W  r_zbl r_join  [shift [s1 s2 s3 s4 s5 s6]]
//   born  A B  A rho sigma C D    R W  r_zbl r_join  [shift [s1 s2 s3 s4 s5 s6]]
//   zbl   A B  R W  [a c1 c2 c3 c4 d1 d2 d3 d4]
//   variant A B NAME
//
// The columns after the elements are the Buckingham (or Born-Mayer-Huggins) constants, the
// taper centre and half-width, the join radii, the constant added to the screened repulsion
// and the bridge polynomial in r; without s1..s6 the bridge is fitted. A "zbl" record is the
// tapered repulsion alone, with the keyword's screening or its own (length a, amplitudes c,
// rates d). A "variant" record takes the keyword's row of that name (the He-He sets of
// "AzizHe2").
#include <algorithm>
#include <cctype>

#include "atoms/elements.hpp"
#include "common/fatal_error.hpp"
#include "common/record_file.hpp"
#include "potentials/ionic/ionic.hpp"

namespace pelix {

namespace {

int32_t element(const RecordFile& file, const std::string& item) {
    std::string symbol = item;
    if (symbol.size() == 1)
        symbol += '_';
    const int32_t z = find_atomic_number(symbol);
    if (z != 0)
        return z;
    file.fail("expected an element symbol, found '" + item + "'");
}

}  // namespace

std::vector<std::pair<int, IonicPairRow>> read_ionic_file(const std::string& path,
                                                          std::span<const IonicPairRow> variants) {
    RecordFile file(path);
    std::vector<std::pair<int, IonicPairRow>> rows;
    for (std::vector<std::string> items; file.next(items);) {
        std::string form = items[0];
        std::transform(form.begin(), form.end(), form.begin(),
                       [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
        const bool born = form == "born";
        if (form == "variant") {
            file.expect(items, 4, "variant A B NAME");
            const int32_t za = element(file, items[1]), zb = element(file, items[2]);
            std::string known;
            for (const IonicPairRow& row : variants) {
                if (((row.za == za && row.zb == zb) || (row.za == zb && row.zb == za)) &&
                    row.variant == items[3]) {
                    rows.push_back({file.line(), row});
                    break;
                }
                known.append(" ").append(row.variant);
            }
            if (rows.empty() || rows.back().first != file.line())
                file.fail("no variant '" + items[3] + "' for this pair; known:" +
                          (known.empty() ? std::string(" none") : known));
            continue;
        }
        if (form != "buck" && !born && form != "zbl")
            file.fail("expected a record starting with buck, born, zbl or variant, found '" +
                      items[0] + "'");
        const std::size_t n = items.size();
        if (n < 3)
            file.expect(items, form == "zbl" ? 5 : (born ? 12 : 10), form + " A B ...");
        IonicPairRow row;
        row.za = element(file, items[1]);
        row.zb = element(file, items[2]);
        std::vector<double> x;
        for (std::size_t k = 3; k < n; ++k)
            x.push_back(file.real(items[k]));
        if (form == "zbl") {
            if (x.size() != 2 && x.size() != 11)
                file.fail(
                    "expected 'zbl A B R W' or 'zbl A B R W a c1 c2 c3 c4 d1 d2 d3 d4' "
                    "(5 or 14 items), found " +
                    std::to_string(n));
            row.taper_centre = x[0];
            row.taper_half_width = x[1];
            row.r_zbl = row.r_join = x[0] + x[1];
            if (x.size() == 11) {
                row.screening.given = true;
                row.screening.length = x[2];
                std::copy(x.begin() + 3, x.begin() + 7, row.screening.c.begin());
                std::copy(x.begin() + 7, x.begin() + 11, row.screening.d.begin());
            }
        } else {
            const std::size_t base = born ? 9 : 7;
            if (x.size() != base && x.size() != base + 1 && x.size() != base + 7)
                file.fail("expected '" + form + " A B" + (born ? " A rho sigma C D" : " A rho C") +
                          " R W r_zbl r_join [shift [s1 .. s6]]' (" + std::to_string(base + 3) +
                          ", " + std::to_string(base + 4) + " or " + std::to_string(base + 10) +
                          " items), found " + std::to_string(n));
            std::size_t k = 0;
            row.form.a = x[k++];
            row.form.rho = x[k++];
            if (born)
                row.form.sigma = x[k++];
            row.form.c = x[k++];
            if (born)
                row.form.d = x[k++];
            row.taper_centre = x[k++];
            row.taper_half_width = x[k++];
            row.r_zbl = x[k++];
            row.r_join = x[k++];
            if (x.size() > base)
                row.zbl_shift = x[k++];
            if (x.size() == base + 7) {
                row.bridge_given = true;
                std::copy(x.begin() + static_cast<std::ptrdiff_t>(k), x.end(), row.bridge.begin());
            }
        }
        rows.push_back({file.line(), row});
    }
    return rows;
}

}  // namespace pelix
