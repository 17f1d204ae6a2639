#include "support/files.h"

#include "io/OutputFile.h"
#include "io/csvPositions.h"
#include "io/writeTable.h"

#include <cmath>

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
    for (const auto& [text, words] : cases) {
        const std::string message = Stratum::test::failureOf([&] { parse(text); });
        EXPECT_NE(message.find(words), std::string::npos) << message;
    }
}

TEST(CsvValues, ColumnsAreNamedByComponent) {
    const Stratum::test::TemporaryFile file(".csv");
    OutputFile out(file.path);
    const Ostrum::Array<Vantor::Math::double3> values{{0.1, 5e-324, -1 / 3.0}};
    writeSamples(out, SampleFormat::kCsv, SampleTable("v", Positions{{0.1F, 2, 3}}, values), {});
    out.commit();
    EXPECT_EQ(file.get(), "x,y,z,v.x,v.y,v.z\n"
                          "0.1,2,3,0.1,5e-324,-0.3333333333333333\n");
    EXPECT_EQ(columnNames("m", 8, 2)[5], "m.m21");
}

} // namespace
