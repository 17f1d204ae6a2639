// The tables that the accuracy program prints, and the error norms in them.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace Stratum::Accuracy {

enum class Format { kMarkdown, kCsv };

struct Table {
    std::string title;
    std::vector<std::string> columns;
    std::vector<std::vector<std::string>> rows;
};

void print(const Table& table, Format format);

/// Three significant digits.
std::string text(double value);

/// The largest and the root-mean-square error of what was added. A NaN counts as infinite.
class Norms {
public:
    void add(double error);
    void add(const Norms& other);
    double largest() const { return largest_; }
    double rms() const;
    std::size_t count() const { return count_; }

private:
    double largest_ = 0, squares_ = 0;
    std::size_t count_ = 0;
};

} // namespace Stratum::Accuracy
