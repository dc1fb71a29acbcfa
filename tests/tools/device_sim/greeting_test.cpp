#include "device_sim/greeting.h"

#include <string>

#include <gtest/gtest.h>

TEST(Greeting, isTheHelloAndNoMore)
{
    struct GreetingCase
    {
        std::string bytes;
        bool isHello;
    };
    GreetingCase const cases[] = {
        {{"hej\0", 4}, true},  {{"hej\0\0", 5}, false}, {"hej", false},
        {{"hey\0", 4}, false}, {"hej!", false},         {"", false},
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(c.bytes);
        EXPECT_EQ(c.isHello,
                  isHello(reinterpret_cast<unsigned char const*>(c.bytes.data()), c.bytes.size()));
    }
}
