#include "io/ObjLines.h"

#include "io/Cancelled.h"
#include "io/parseNumber.h"
#include "io/quoted.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <stdexcept>

namespace Stratum::io {

namespace {

// A NUL would end the line for a parser that works on C strings.
constexpr std::string_view kBlank(" \t\r\0", 4);

class Reader {
public:
    Reader(std::string_view bytes, const std::string& source) : rest_(bytes), source_(source) {}

    ObjLines read() {
        while (!rest_.empty()) {
            if (number_ % 4096 == 0)
                throwIfInterrupted();
            ++number_;
            const auto end = std::min(rest_.find('\n'), rest_.size());
            line_ = rest_.substr(0, end);
            rest_.remove_prefix(std::min(end + 1, rest_.size()));
            readLine(nextWord());
            lines_.text += '\n';
        }
        if (highest_ > static_cast<std::int64_t>(lines_.vertexCount))
            failAt(highestLine_, "there is no vertex " + std::to_string(highest_) + "; there are " +
                                     std::to_string(lines_.vertexCount));
        return std::move(lines_);
    }

private:
    [[noreturn]] void failAt(std::size_t line, const std::string& what) const {
        throw std::runtime_error(source_ + ", line " + std::to_string(line) + ": " + what);
    }
    [[noreturn]] void fail(const std::string& what) const { failAt(number_, what); }

    std::string_view nextWord() {
        line_.remove_prefix(std::min(line_.find_first_not_of(kBlank), line_.size()));
        const auto word = line_.substr(0, line_.find_first_of(kBlank));
        line_.remove_prefix(word.size());
        return word;
    }

    void readLine(std::string_view keyword) {
        if (keyword == "v")
            readVertex();
        else if (keyword == "f")
            lines_.faceSizes.push_back(readElement('f', 3, "a face has at least 3 corners"));
        else if (keyword == "l")
            lines_.lineSizes.push_back(readElement('l', 2, "a line has at least 2 points"));
    }

    // What follows the three coordinates is a weight or a colour.
    void readVertex() {
        lines_.text += 'v';
        for (int axis = 0; axis < 3; ++axis) {
            const auto word = nextWord();
            if (word.empty())
                fail("a vertex has 3 coordinates");
            checkCoordinate(word);
            (lines_.text += ' ') += word;
        }
        if (++lines_.vertexCount > std::size_t{std::numeric_limits<std::int32_t>::max()})
            fail("more vertices than can be counted");
    }

    void checkCoordinate(std::string_view word) const {
        const auto value = parseNumber<double>(word);
        if (!value || !std::isfinite(static_cast<float>(*value)))
            fail(quoted(word) + " is no number of single precision");
    }

    std::uint32_t readElement(char keyword, std::uint32_t fewest, const char* rule) {
        lines_.text += keyword;
        std::uint32_t count = 0;
        for (auto word = nextWord(); !word.empty() && word.front() != '#'; word = nextWord()) {
            (lines_.text += ' ') += std::to_string(readIndex(word));
            ++count;
        }
        if (count < fewest)
            fail(std::string(rule) + ", and this one has " + std::to_string(count));
        return count;
    }

    // The vertex of "7", "7/1", "7//2" or "-1/1/1", by its number in the file.
    std::int64_t readIndex(std::string_view word) {
        const std::string_view digits = word.substr(0, word.find('/'));
        std::int32_t index = 0;
        const char* end = digits.data() + digits.size();
        const auto [stop, error] = std::from_chars(digits.data(), end, index);
        if (error != std::errc() || stop != end || index == 0)
            fail(quoted(word) + " names no vertex");
        // Negative ones count back from the last vertex so far.
        const auto before = static_cast<std::int64_t>(lines_.vertexCount);
        const std::int64_t vertex = index > 0 ? index : before + 1 + index;
        if (vertex < 1)
            fail("there is no vertex " + std::to_string(index) + "; before this line there are " +
                 std::to_string(before));
        if (vertex > highest_) {
            highest_ = vertex;
            highestLine_ = number_;
        }
        return vertex;
    }

    std::string_view rest_, line_;
    const std::string& source_;
    std::size_t number_ = 0, highestLine_ = 0;
    std::int64_t highest_ = 0;
    ObjLines lines_;
};

} // namespace

ObjLines readObjLines(std::string_view bytes, const std::string& source) {
    return Reader(bytes, source).read();
}

} // namespace Stratum::io
