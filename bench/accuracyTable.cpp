#include "accuracyTable.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iostream>
#include <limits>

namespace Stratum::Accuracy {

namespace {

void printRow(const std::vector<std::string>& cells, Format format) {
    const bool csv = format == Format::kCsv;
    std::string line = csv ? "" : "| ";
    for (std::size_t i = 0; i < cells.size(); ++i)
        line.append(i > 0 ? csv ? "," : " | " : "").append(cells[i]);
    std::cout << line << (csv ? "\n" : " |\n");
}

} // namespace

void print(const Table& table, Format format) {
    if (format == Format::kMarkdown)
        std::cout << "**" << table.title << "**\n\n";
    printRow(table.columns, format);
    if (format == Format::kMarkdown)
        printRow(std::vector<std::string>(table.columns.size(), "---"), format);
    for (const auto& row : table.rows)
        printRow(row, format);
    std::cout << '\n';
}

std::string text(double value) {
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "%.3g", value);
    return buffer;
}

void Norms::add(double error) {
    const double size =
        std::isnan(error) ? std::numeric_limits<double>::infinity() : std::abs(error);
    largest_ = std::max(largest_, size);
    squares_ += size * size;
    ++count_;
}

void Norms::add(const Norms& other) {
    largest_ = std::max(largest_, other.largest_);
    squares_ += other.squares_;
    count_ += other.count_;
}

double Norms::rms() const {
    return count_ > 0 ? std::sqrt(squares_ / static_cast<double>(count_)) : 0;
}

} // namespace Stratum::Accuracy
