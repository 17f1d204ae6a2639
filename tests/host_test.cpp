// The host's small parts: arrays, pointers, memory, jobs, diagnostics, objects.
#include "Kelvane/Logger.h"
#include "Ostrum/Array.h"
#include "Ostrum/RuntimeServices.h"
#include "Vantor/Geometry.h"
#include "Vantor/Object.h"
#include "support/volumes.h"

#include <stdexcept>

using namespace StratumTest;
using Ostrum::Array;
using Ostrum::makePtr;
using Ostrum::String;

TEST(Array, HoldsOneByteAFlagAndKeepsElements) {
    Array<bool> flags(3, true);
    flags.resize(5);
    static_assert(std::is_same_v<decltype(flags.data()), bool*> && sizeof(bool) == 1);
    EXPECT_EQ(flags, (Array<bool>{true, true, true, false, false}));

    Array<String> texts{"a", "b", "a text too long to be stored in place"};
    const Array<String> copy = texts;
    for (int i = 0; i < 20; ++i)
        texts.push_back(texts[2]);
    texts.resize(4);
    EXPECT_EQ(texts[3], copy[2]);
    texts = Array<String>(copy);
    EXPECT_EQ(texts, copy);
    EXPECT_NE(texts, (Array<String>{"a", "b"}));
}

TEST(Array, ImpossibleSizesThrowAndLeaveItIntact) {
    const std::size_t max = std::numeric_limits<std::size_t>::max();
    Array<double> numbers{1, 2, 3};
    const Array<double> before = numbers;
    for (const std::size_t size : {max, max / 2, max / 8, max / 8 + 2, max / 16, max / 16 - 1}) {
        EXPECT_THROW(numbers.resize(size), std::bad_alloc) << size;
        EXPECT_THROW(numbers.reserve(size), std::bad_alloc) << size;
        EXPECT_THROW((Array<double>(size, 1.0)), std::bad_alloc) << size;
    }
    Array<char> bytes{'x'};
    EXPECT_THROW(bytes.resize(max), std::bad_alloc);
    EXPECT_EQ(bytes, (Array<char>{'x'}));

    Ostrum::failAllocation(1);
    EXPECT_THROW(numbers.resize(100), std::bad_alloc);
    EXPECT_EQ(numbers, before);
    numbers.resize(4);
    EXPECT_EQ(numbers, (Array<double>{1, 2, 3, 0}));
}

namespace {
struct Fragile {
    static inline int alive = 0, copiesLeft = 1000;
    Fragile() { ++alive; }
    Fragile(const Fragile&) {
        if (copiesLeft-- == 0)
            throw std::runtime_error("copy");
        ++alive;
    }
    ~Fragile() { --alive; }
};
} // namespace

TEST(Array, AThrowingElementLeavesNothingBehind) {
    {
        Array<Fragile> some(5);
        Fragile::copiesLeft = 3;
        EXPECT_THROW((Array<Fragile>(some)), std::runtime_error);
        Fragile::copiesLeft = 2;
        EXPECT_THROW(some.reserve(50), std::runtime_error);
        EXPECT_EQ(some.size(), 5U);
        EXPECT_EQ(Fragile::alive, 5);
    }
    EXPECT_EQ(Fragile::alive, 0);
}

TEST(Logger, TimersAndMessages) {
    namespace Logger = Kelvane::Logger;
    Logger::takeTimerReport();
    for (int i = 0; i < 2; ++i) {
        const Logger::timer outer("outer");
        const Logger::timer inner("inner", &outer);
    }
    try {
        const Logger::timer thrown("thrown");
        throw 1;
    } catch (int) {
    }
    const auto report = Logger::takeTimerReport();
    ASSERT_EQ(report.size(), 3U);
    EXPECT_EQ(report[0].name, "outer");
    EXPECT_EQ(report[1].name, "outer/inner");
    EXPECT_EQ(report[1].calls, 2U);
    EXPECT_GE(report[0].seconds, report[1].seconds);
    EXPECT_EQ(report[2].name, "thrown");
    EXPECT_TRUE(Logger::takeTimerReport().empty());

    std::string logged;
    const Ostrum::RuntimeServices services(2,
                                           [&](int, const String& text) { logged += text.str(); });
    EXPECT_TRUE(services.isLogEnabled(2));
    EXPECT_FALSE(services.isLogEnabled(3));
    services.logImpl(2, "warning");
    EXPECT_EQ(logged, "warning");
}

TEST(Object, FindsPropertiesByNameAndType) {
    namespace Geo = Vantor::Geometry;
    Vantor::Object object;
    EXPECT_FALSE(object.isA(*Geo::getPointCloudPrototype()));
    object.addComponent(Geo::sPointComp, 4);
    EXPECT_TRUE(object.isA(*Geo::getPointCloudPrototype()));
    object.addComponent(Geo::sPointComp, 5);
    EXPECT_EQ(Geo::getElementCount(object, Geo::sPointComp), 5U);
    EXPECT_EQ(Geo::getElementCount(object, Geo::sFaceComp), 0U);

    object.setProperty("w", Geo::sPointComp, makePtr<Array<float>>(5U, 1.0F));
    EXPECT_EQ(object.propertyData<double>("w"), nullptr);
    EXPECT_EQ(object.propertyData<float>("v"), nullptr);
    object.setProperty("w", Geo::sFaceComp, makePtr<Array<double>>(5U, 2.0));
    EXPECT_EQ(object.propertyData<float>("w"), nullptr);
    EXPECT_EQ((*object.propertyData<double>("w"))[4], 2.0);
    EXPECT_EQ(Geo::getGeoPropTargetName(object, "w"), Geo::sFaceComp);
    EXPECT_TRUE(Geo::getGeoPropTargetName(object, "v").empty());
}
