// Output of the benchmark: tables in Markdown form, whose columns are padded so
// that they read as well on a terminal as in a README.
#pragma once

#include <string>
#include <vector>

namespace Parsers::Bench {

class Table {
public:
    explicit Table(std::vector<std::string> header) : rows{std::move(header)} {}
    void addRow(std::vector<std::string> row) { rows.push_back(std::move(row)); }
    void print() const;

private:
    std::vector<std::vector<std::string>> rows;
};

// A number with the given digits after the point.
std::string fixed(double value, int digits = 1);
// A whole number with a thin grouping: 1,000,000.
std::string grouped(unsigned long long value);
// Megabytes (10^6 bytes) of a byte count, one digit after the point.
std::string megabytes(unsigned long long bytes);

void printHeading(const std::string& title);

}  // namespace Parsers::Bench
