#include "device_sim/report.h"

#include <string>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace
{

class Report : public testing::Test
{
protected:
    Report()
    {
        sent.records = {1, 2, 3, 4, 5};
        sent.unknown = 6;
        sent.empty = 7;
        sent.padded = 8;
        sent.cut = 9;
        sent.failed = 10;
        received.types[0].count = 11;
        received.types[0].outOfOrder = 12;
        received.types[0].lateness = Lateness{-0.5, 0.25, 1.5, 2.0};
        received.total = received.types[0];
        received.hellos = 13;
        received.other = 14;
        received.overflows = 15;
    }

    // The columns of the line that starts so.
    static std::string lineOf(std::string const& text, std::string const& start)
    {
        size_t const at = text.find(start + " ");
        return at == std::string::npos ? "none" : text.substr(at, text.find('\n', at) - at);
    }

    SentCounts sent;
    ReceivedReport received;
};

}

TEST_F(Report, isATableForPeople)
{
    std::string const text = toText(sent, received);
    EXPECT_EQ("AttitudeData             4", lineOf(text, "AttitudeData"));
    EXPECT_EQ("total                   15", lineOf(text, "total"));
    EXPECT_EQ("short                    9", lineOf(text, "short"));
    EXPECT_EQ("overflows               15", lineOf(text, "overflows"));
    std::string const in = text.substr(text.find("received"));
    EXPECT_EQ("ImuData                 11           -           -          12      -0.500       "
              "0.250       1.500       2.000",
              lineOf(in, "ImuData"));
    EXPECT_EQ(
        "GnssPvt                  0           -           -           0           -           "
        "-           -           -",
        lineOf(in, "GnssPvt"));
}

TEST_F(Report, isOneLineOfJsonForPrograms)
{
    received.types[0].missing = 3;
    std::string const text = toJson(sent, received);
    EXPECT_EQ(std::string::npos, text.find('\n'));

    auto const json = nlohmann::json::parse(text);
    EXPECT_EQ(5, json["sent"]["GenericData"]);
    EXPECT_EQ(9, json["extras"]["short"]);
    EXPECT_EQ(10, json["extras"]["failed"]);
    EXPECT_EQ(13, json["received"]["hellos"]);
    auto const& imu = json["received"]["ImuData"];
    EXPECT_EQ(11, imu["count"]);
    EXPECT_EQ(3, imu["missing"]);
    EXPECT_TRUE(imu["unexpected"].is_null());
    EXPECT_EQ(1.5, imu["latenessMs"]["p99"]);
    EXPECT_TRUE(json["received"]["GnssPvt"]["latenessMs"].is_null());
    EXPECT_TRUE(json["received"]["lastTenthLatenessMs"].is_null());
}
