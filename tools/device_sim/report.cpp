#include "device_sim/report.h"

#include <iomanip>
#include <numeric>
#include <sstream>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

using Counter = std::pair<char const*, uint64_t>;

static std::vector<Counter> extrasOf(SentCounts const& sent)
{
    return {{"unknown", sent.unknown},
            {"empty", sent.empty},
            {"padded", sent.padded},
            {"short", sent.cut},
            {"failed", sent.failed}};
}

static std::vector<Counter> othersOf(ReceivedReport const& received)
{
    return {
        {"hellos", received.hellos}, {"other", received.other}, {"overflows", received.overflows}};
}

// A table column, right-aligned. An unknown value is a dash.
template <class Value>
static void addColumn(std::ostream& text, Value const& value)
{
    text << std::setw(12) << value;
}
static void addColumn(std::ostream& text, std::optional<uint64_t> const& value)
{
    if (value)
        addColumn(text, *value);
    else
        addColumn(text, "-");
}
static void addName(std::ostream& text, char const* name)
{
    text << std::left << std::setw(14) << name << std::right;
}

static void addCounters(std::ostream& text, std::vector<Counter> const& counters)
{
    for (auto const& [name, count] : counters) {
        addName(text, name);
        addColumn(text, count);
        text << "\n";
    }
}

static void addReceived(std::ostream& text, char const* name, Received const& received)
{
    addName(text, name);
    addColumn(text, received.count);
    addColumn(text, received.missing);
    addColumn(text, received.unexpected);
    addColumn(text, received.outOfOrder);
    if (auto const& late = received.lateness) {
        for (double const value : {late->min, late->median, late->percentile99, late->max})
            addColumn(text, value);
    } else {
        for (unsigned i = 0; i < 4; ++i)
            addColumn(text, "-");
    }
    text << "\n";
}

std::string toText(SentCounts const& sent, ReceivedReport const& received)
{
    std::ostringstream text;
    text << std::fixed << std::setprecision(3);

    addName(text, "sent");
    addColumn(text, "count");
    text << "\n";
    for (size_t i = 0; i < RECORD_TYPE_COUNT; ++i)
        addCounters(text, {{RECORD_NAMES[i], sent.records[i]}});
    addCounters(
        text, {{"total", std::accumulate(sent.records.begin(), sent.records.end(), uint64_t{0})}});
    addCounters(text, extrasOf(sent));

    text << "\n";
    addName(text, "received");
    for (char const* column :
         {"count", "missing", "unexpected", "disordered", "late ms min", "median", "99 %", "max"})
        addColumn(text, column);
    text << "\n";
    for (size_t i = 0; i < RECORD_TYPE_COUNT; ++i)
        addReceived(text, RECORD_NAMES[i], received.types[i]);
    addReceived(text, "total", received.total);
    addCounters(text, othersOf(received));
    return text.str();
}

using Json = nlohmann::ordered_json;

static Json jsonOf(std::optional<uint64_t> const& value)
{
    return value ? Json(*value) : Json(nullptr);
}

static Json jsonOf(std::optional<Lateness> const& late)
{
    if (!late)
        return nullptr;
    return {
        {"min", late->min}, {"p50", late->median}, {"p99", late->percentile99}, {"max", late->max}};
}

static Json jsonOf(Received const& received)
{
    Json json;
    json["count"] = received.count;
    json["missing"] = jsonOf(received.missing);
    json["unexpected"] = jsonOf(received.unexpected);
    json["outOfOrder"] = received.outOfOrder;
    json["latenessMs"] = jsonOf(received.lateness);
    return json;
}

std::string toJson(SentCounts const& sent, ReceivedReport const& received)
{
    Json json;
    for (size_t i = 0; i < RECORD_TYPE_COUNT; ++i)
        json["sent"][RECORD_NAMES[i]] = sent.records[i];
    for (auto const& [name, count] : extrasOf(sent))
        json["extras"][name] = count;

    Json& in = json["received"];
    for (size_t i = 0; i < RECORD_TYPE_COUNT; ++i)
        in[RECORD_NAMES[i]] = jsonOf(received.types[i]);
    in["total"] = jsonOf(received.total);
    in["firstTenthLatenessMs"] = jsonOf(received.firstTenth);
    in["lastTenthLatenessMs"] = jsonOf(received.lastTenth);
    for (auto const& [name, count] : othersOf(received))
        in[name] = count;
    return json.dump();
}
