#include "io/OutputFile.h"
#include "io/csvPositions.h"
#include "io/sampleFiles.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <limits>
#include <sstream>

namespace {

using namespace Stratum::io;
using Vantor::Math::float3;
using Positions = Ostrum::Array<float3>;

Positions parse(const std::string& text) {
    std::istringstream in(text);
    return readCsvPositions(in, "text");
}

TEST(CsvPositions, AcceptsWhatEditorsAndSpreadsheetsWrite) {
    const Positions expected{{1, -2.5F, 3e-3F}, {4, 5, 6}};
    EXPECT_EQ(parse("1,-2.5,3e-3\n4,5,6\n"), expected);
    EXPECT_EQ(parse("\xEF\xBB\xBFx, y, z\r\n 1 ,\t-2.5,+.003\r\n\r\n# a remark, with commas\r\n"
                    "4,5,6"),
              expected);
    EXPECT_TRUE(parse("x,y,z\n").empty());
    const Positions odd = parse("nan,inf,-inf\n");
    EXPECT_TRUE(std::isnan(odd[0].x));
    EXPECT_EQ(odd[0].y, -odd[0].z);
}

TEST(CsvPositions, NamesTheLineThatIsWrong) {
    const std::pair<const char*, const char*> cases[] = {
        {"x,y,z\n1,2,3\n1,2\n", "text, line 3: a position has 3 numbers"},
        {"1,2,3,4\n", "line 1: a position has 3 numbers, x,y,z, and this line has 4 fields"},
        {"1,2,3\nx,y,z\n", "line 2: 'x' is not a number"},
        {"1,y,3\n", "line 1: 'y' is not a number"},
        {"1,,3\n", "line 1: '' is not a number"},
        {"1,2,1e39\n", "line 1: '1e39' is not a number of single precision"},
        {"1,2,3 4\n", "line 1: '3 4' is not a number"},
    };
    for (const auto& [text, words] : cases)
        try {
            parse(text);
            ADD_FAILURE() << text;
        } catch (const std::runtime_error& error) {
            EXPECT_NE(std::string(error.what()).find(words), std::string::npos) << error.what();
        }
}

TEST(CsvValues, ReadBackTheSameBits) {
    const std::string path = testing::TempDir() + "stratum_values.csv";
    const Positions positions{{0.1F, 1e-30F, -16777217.0F},
                              {std::nextafter(1.0F, 2.0F), -0.0F, 3e38F}};
    Ostrum::Array<Vantor::Math::double3> values(2);
    values[0] = {0.1, std::numeric_limits<double>::quiet_NaN(), -1 / 3.0};
    values[1] = {-std::numeric_limits<double>::infinity(), 5e-324, 1};
    {
        OutputFile out(path);
        writeSamples(out, SampleFormat::kCsv, SampleTable("a,b", positions, values), {});
        EXPECT_FALSE(std::filesystem::exists(path)) << "appears only when complete";
        out.commit();
    }
    std::ifstream in(path);
    std::string line, coordinates;
    std::getline(in, line);
    EXPECT_EQ(line, R"(x,y,z,"a,b.x","a,b.y","a,b.z")");
    for (std::size_t i = 0; std::getline(in, line); ++i) {
        const auto third = line.find(',', line.find(',', line.find(',') + 1) + 1);
        coordinates += line.substr(0, third) + "\n";
        EXPECT_EQ(line.substr(third), i == 0 ? ",0.1,nan,-0.3333333333333333" : ",-inf,5e-324,1");
    }
    EXPECT_EQ(parse(coordinates), positions);
    EXPECT_EQ(columnNames("m", 8, 2)[5], "m.m21");
    std::filesystem::remove(path);
}

} // namespace
