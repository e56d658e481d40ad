#include "report.h"

#include <algorithm>
#include <cstdio>

namespace Parsers::Bench {

// Every cell is padded to the widest of its column, so that the Markdown rows
// line up on a terminal too.
void Table::print() const
{
    std::vector<std::size_t> widths;
    for (const auto& row : rows) {
        if (widths.size() < row.size()) widths.resize(row.size(), 0);
        for (std::size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], row[i].size());
    }
    auto printRow = [&](const std::vector<std::string>& row) {
        std::string line = "|";
        for (std::size_t i = 0; i < widths.size(); ++i) {
            std::string cell = i < row.size() ? row[i] : "";
            line += " " + cell + std::string(widths[i] - cell.size(), ' ') + " |";
        }
        std::puts(line.c_str());
    };
    printRow(rows.front());
    std::string rule = "|";
    for (std::size_t width : widths) rule += std::string(width + 2, '-') + "|";
    std::puts(rule.c_str());
    for (std::size_t i = 1; i < rows.size(); ++i) printRow(rows[i]);
    std::fflush(stdout);
}

std::string fixed(double value, int digits)
{
    char text[64];
    std::snprintf(text, sizeof text, "%.*f", digits, value);
    return text;
}

std::string grouped(unsigned long long value)
{
    std::string digits = std::to_string(value);
    std::string out;
    for (std::size_t i = 0; i < digits.size(); ++i) {
        if (i > 0 && (digits.size() - i) % 3 == 0) out += ',';
        out += digits[i];
    }
    return out;
}

std::string megabytes(unsigned long long bytes)
{
    return fixed(static_cast<double>(bytes) / 1e6, 1) + " MB";
}

void printHeading(const std::string& title)
{
    std::printf("\n## %s\n\n", title.c_str());
    std::fflush(stdout);
}

}  // namespace Parsers::Bench
