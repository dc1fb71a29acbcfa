#include "log_kit/info_report.h"

#include <algorithm>

#include <fmt/format.h>

#include "log_kit/text.h"

static constexpr size_t MAX_LINES = 8; // of a list in the text, so that all fits a screen

static char const* nameOf(eJump kind)
{
    switch (kind) {
    case eJump::Wrap:
        return "wrap";
    case eJump::Back:
        return "back";
    case eJump::Restart:
        break;
    }
    return "restart";
}

static uint64_t gapsOf(Info const& info, size_t index)
{
    return static_cast<uint64_t>(std::count_if(info.gaps.begin(), info.gaps.end(),
                                               [&](Gap const& gap) { return gap.index == index; }));
}

static double secondsOf(Gap const& gap)
{
    return static_cast<double>(gap.length) / 1e3;
}

static std::string stateText(Info const& info)
{
    if (info.totals.bytes == 0)
        return "empty";
    if (info.totals.frames == 0)
        return "no log";
    return info.totals.isClean() ? "clean" : "damaged";
}

static void addLine(std::string& text, char const* label, std::string const& content)
{
    text += fmt::format("  {:<9} {}\n", label, content);
}

// Further lines of a list; more than fit a screen become a count.
template <class List, class LineOf>
static void addList(std::string& text, List const& list, LineOf const& lineOf)
{
    size_t const shown = list.size() > MAX_LINES ? MAX_LINES - 1 : list.size();
    for (size_t i = 0; i < shown; ++i)
        addLine(text, "", lineOf(list[i]));
    if (shown < list.size())
        addLine(text, "",
                fmt::format("and {} more; --json lists them", grouped(list.size() - shown)));
}

static void addTime(std::string& text, Info const& info)
{
    if (info.seconds)
        addLine(text, "time",
                fmt::format("{} from ticks {} to {}", spanText(*info.seconds), *info.firstTicks,
                            *info.lastTicks));
    if (info.gnss.utcStart())
        addLine(text, "UTC",
                utcText(*info.gnss.utcStart()) + " to " + utcText(*info.gnss.utcEnd()));
    else
        addLine(text, "UTC", "unknown: no GNSS record has a fix and a time");
}

static std::string rateText(double hz)
{
    return fmt::format("{:.10g}", hz);
}

static void addTypes(std::string& text, Info const& info)
{
    text += fmt::format("  {:<13}{:>12}{:>16}{:>8}{:>9}{:>8}{:>8}{:>6}\n", "record", "count",
                        "bytes", "share", "Hz min", "median", "max", "gaps");
    for (size_t index = 0; index < RECORD_TYPE_COUNT; ++index) {
        TypeInfo const& type = info.types[index];
        if (type.count == 0) {
            text += fmt::format("  {:<13}{:>12}\n", RECORD_NAMES[index], "none");
            continue;
        }
        auto const rate = [&](double Rate::*value) {
            return type.rate ? rateText((*type.rate).*value) : "-";
        };
        double const share =
            100 * static_cast<double>(type.bytes) / static_cast<double>(info.totals.bytes);
        text +=
            fmt::format("  {:<13}{:>12}{:>16}{:>6.1f} %{:>9}{:>8}{:>8}{:>6}\n", RECORD_NAMES[index],
                        grouped(type.count), grouped(type.bytes), share, rate(&Rate::min),
                        rate(&Rate::median), rate(&Rate::max), gapsOf(info, index));
    }
}

static std::string fixesText(GnssSummary const& gnss)
{
    std::string text;
    for (size_t i = FIX_COUNT; i-- > 0;) {
        size_t const fix = i;
        double const share = gnss.fixShare(fix).value_or(0);
        if (share > 0)
            text +=
                fmt::format("{}{} {:.1f} %", text.empty() ? "" : ", ", fixText(fix), 100 * share);
    }
    return text + " of the time";
}

static std::string accuracyText(Histogram const& accuracy)
{
    return fmt::format("{:.2f} m (worst {:.2f} m)", *accuracy.median() / 1e2,
                       static_cast<double>(*accuracy.max()) / 1e2);
}

static void addGnss(std::string& text, Info const& info)
{
    GnssSummary const& gnss = info.gnss;
    if (!gnss.fixShare(0)) {
        addLine(text, "GNSS", "none");
        return;
    }
    addLine(text, "GNSS", fixesText(gnss));
    Histogram const& satellites = gnss.satellites();
    addLine(text, "",
            fmt::format("satellites {} to {}, median {}", *satellites.min(), *satellites.max(),
                        rateText(*satellites.median())));
    if (!gnss.box())
        return addLine(text, "", "no position");

    addLine(text, "",
            fmt::format("accuracy, median: horizontal {}, vertical {}",
                        accuracyText(gnss.horizontalAccuracy()),
                        accuracyText(gnss.verticalAccuracy())));
    BoundingBox const& box = *gnss.box();
    addLine(text, "",
            fmt::format("latitude {:.7f} to {:.7f}, longitude {:.7f} to {:.7f} degrees", box.south,
                        box.north, box.west, box.east));
    Position const& last = *gnss.lastPosition();
    addLine(text, "",
            fmt::format("last at latitude {:.7f}, longitude {:.7f}, altitude {:.1f} m",
                        last.latitude, last.longitude, last.altitude));
}

static std::string gapText(Gap const& gap)
{
    std::string const where =
        gap.afterTicks ? fmt::format("after ticks {}", *gap.afterTicks) : "from the start";
    std::string const end = gap.beforeTicks ? "" : " to the end";
    return fmt::format("{} {} {}{}: {}", RECORD_NAMES[gap.index], spanText(secondsOf(gap)), where,
                       end, gap.isDeviceSilent ? "the device was silent" : "other records went on");
}

static void addGaps(std::string& text, Info const& info)
{
    if (info.gaps.empty())
        return addLine(text, "gaps", "none");
    addLine(text, "gaps", grouped(info.gaps.size()));
    addList(text, info.gaps, gapText);
}

static void addJumps(std::string& text, Info const& info)
{
    uint64_t const count = info.wraps + info.backs + info.restarts;
    if (count == 0)
        return addLine(text, "counter", "runs on");
    addLine(text, "counter",
            fmt::format("{}, {}, {}", counted(info.wraps, "wrap"),
                        counted(info.restarts, "restart"), counted(info.backs, "step") + " back"));
    std::vector<JumpInfo> worth = info.jumps;
    if (info.wraps + info.restarts > 0) // steps back are many, and matter less
        worth.erase(std::remove_if(worth.begin(), worth.end(),
                                   [](JumpInfo const& j) { return j.jump.kind == eJump::Back; }),
                    worth.end());
    addList(text, worth, [](JumpInfo const& jump) {
        return fmt::format("{} at frame {}, offset {}: from ticks {} to {}", nameOf(jump.jump.kind),
                           grouped(jump.frame), jump.offset, jump.jump.from, jump.jump.to);
    });
}

static void addReplay(std::string& text, Info const& info)
{
    ReplayForecast const& replay = info.replay;
    if (!replay.seconds())
        return addLine(text, "replay", "sends nothing");
    addLine(text, "replay", "takes " + spanText(*replay.seconds()));
    if (replay.backToBackFrom())
        addLine(text, "",
                fmt::format("from frame {} on it sends back to back",
                            grouped(*replay.backToBackFrom())));
    if (info.replayEndsAt)
        addLine(text, "",
                fmt::format("ends at the damage at offset {}, after {} of {}", *info.replayEndsAt,
                            grouped(replay.frames()), counted(info.totals.frames, "frame")));
}

static void addState(std::string& text, Info const& info)
{
    LogTotals const& totals = info.totals;
    if (info.implausible > 0)
        addLine(text, "values",
                counted(info.implausible, "record") + " with a value that cannot be");
    if (!totals.isClean())
        addLine(text, "damage",
                fmt::format("{} with {} and at most {}; log_kit check names them",
                            counted(totals.regions, "region"), counted(totals.damagedBytes, "byte"),
                            counted(totals.framesLostAtMost, "record")));
    addLine(text, "end",
            totals.endsWithFrame ? "clean, with a whole frame"
                                 : "not clean: the last bytes are no whole frame");
}

std::string infoText(std::string const& file, Info const& info)
{
    LogTotals const& totals = info.totals;
    std::string text = fmt::format("{}: {}, {}, {}\n", file, stateText(info),
                                   sizeText(totals.bytes), counted(totals.frames, "frame"));
    if (totals.frames == 0)
        return text;
    addTime(text, info);
    addTypes(text, info);
    addGnss(text, info);
    addGaps(text, info);
    addJumps(text, info);
    addReplay(text, info);
    addState(text, info);
    return text;
}

std::string infoLine(std::string const& file, Info const& info)
{
    double longest = 0;
    for (Gap const& gap : info.gaps)
        longest = std::max(longest, secondsOf(gap));

    std::string text =
        fmt::format("{}: {}, {}", file, stateText(info), sizeText(info.totals.bytes));
    if (info.gnss.utcStart())
        text += ", " + utcText(*info.gnss.utcStart());
    if (info.seconds)
        text += ", " + spanText(*info.seconds);
    if (auto const share = info.gnss.fixShare(4))
        text += fmt::format(", 3D {:.0f} %", 100 * *share);
    if (!info.gaps.empty())
        text +=
            fmt::format(", {}, longest {}", counted(info.gaps.size(), "gap"), spanText(longest));
    if (info.wraps > 0)
        text += ", " + counted(info.wraps, "wrap");
    if (info.restarts > 0)
        text += ", " + counted(info.restarts, "restart");
    return text + "\n";
}

static Json rateJson(std::optional<Rate> const& rate)
{
    return {{"min", rate ? Json(rate->min) : Json()},
            {"median", rate ? Json(rate->median) : Json()},
            {"max", rate ? Json(rate->max) : Json()}};
}

static Json typesJson(Info const& info)
{
    Json json = Json::object();
    for (size_t index = 0; index < RECORD_TYPE_COUNT; ++index) {
        TypeInfo const& type = info.types[index];
        json[RECORD_NAMES[index]] = {{"count", type.count},
                                     {"bytes", type.bytes},
                                     {"first_ticks", jsonOf(type.firstTicks)},
                                     {"last_ticks", jsonOf(type.lastTicks)},
                                     {"rate_hz", rateJson(type.rate)}};
    }
    return json;
}

static Json utcJson(std::optional<int32_t> const& utc)
{
    return utc ? Json(utcText(*utc)) : Json(nullptr);
}

static Json gnssJson(GnssSummary const& gnss)
{
    Json fixes = Json::object();
    for (size_t fix = 0; fix < FIX_COUNT; ++fix) {
        double const share = gnss.fixShare(fix).value_or(0);
        if (share > 0)
            fixes[fixText(fix)] = share;
    }
    auto const box = [&](double BoundingBox::*side) {
        return gnss.box() ? Json((*gnss.box()).*side) : Json(nullptr);
    };
    auto const last = [&](double Position::*value) {
        return gnss.lastPosition() ? Json((*gnss.lastPosition()).*value) : Json(nullptr);
    };
    Histogram const& satellites = gnss.satellites();
    return {{"fix", fixes},
            {"satellites",
             {{"min", jsonOf(satellites.min())},
              {"median", jsonOf(satellites.median())},
              {"max", jsonOf(satellites.max())}}},
            {"bounding_box",
             {{"south", box(&BoundingBox::south)},
              {"west", box(&BoundingBox::west)},
              {"north", box(&BoundingBox::north)},
              {"east", box(&BoundingBox::east)}}},
            {"last_position",
             {{"latitude", last(&Position::latitude)},
              {"longitude", last(&Position::longitude)},
              {"altitude_m", last(&Position::altitude)}}}};
}

Json infoJson(std::string const& file, Info const& info)
{
    Json gaps = Json::array();
    for (Gap const& gap : info.gaps)
        gaps.push_back({{"type", RECORD_NAMES[gap.index]},
                        {"after_ticks", jsonOf(gap.afterTicks)},
                        {"before_ticks", jsonOf(gap.beforeTicks)},
                        {"seconds", secondsOf(gap)}});
    Json jumps = Json::array();
    for (JumpInfo const& jump : info.jumps)
        jumps.push_back({{"kind", nameOf(jump.jump.kind)},
                         {"frame", jump.frame},
                         {"offset", jump.offset},
                         {"from", jump.jump.from},
                         {"to", jump.jump.to}});
    return {{"file", file},
            {"bytes", info.totals.bytes},
            {"frames", info.totals.frames},
            {"clean", info.totals.isClean()},
            {"types", typesJson(info)},
            {"time",
             {{"first_ticks", jsonOf(info.firstTicks)},
              {"last_ticks", jsonOf(info.lastTicks)},
              {"duration_s", jsonOf(info.seconds)},
              {"utc_start", utcJson(info.gnss.utcStart())},
              {"utc_end", utcJson(info.gnss.utcEnd())}}},
            {"gaps", gaps},
            {"jumps", jumps},
            {"gnss", gnssJson(info.gnss)},
            {"implausible", info.implausible},
            {"replay",
             {{"duration_s", jsonOf(info.replay.seconds())},
              {"back_to_back_from_frame", jsonOf(info.replay.backToBackFrom())}}}};
}

std::vector<std::string> missed(InfoThresholds const& thresholds, Info const& info)
{
    std::vector<std::string> texts;
    if (thresholds.maxGap)
        for (Gap const& gap : info.gaps)
            if (secondsOf(gap) > *thresholds.maxGap) {
                texts.push_back(fmt::format("a gap is longer than {:g} s: {}", *thresholds.maxGap,
                                            gapText(gap)));
                break; // the first one says enough
            }
    for (size_t index = 0; index < RECORD_TYPE_COUNT; ++index) {
        auto const& rate = info.types[index].rate;
        auto const& wanted = thresholds.minRate[index];
        if (wanted && (!rate || rate->median < *wanted))
            texts.push_back(fmt::format("{} comes with {} Hz, less than {:g} Hz",
                                        RECORD_NAMES[index],
                                        rate ? rateText(rate->median) : "unknown", *wanted));
    }
    for (size_t fix = 0; fix < FIX_COUNT; ++fix) {
        double const share = info.gnss.fixShare(fix).value_or(0);
        auto const& wanted = thresholds.minFix[fix];
        if (wanted && share < *wanted)
            texts.push_back(fmt::format("the fix is {} for a share of {:.3f}, less than {:g}",
                                        fixText(fix), share, *wanted));
    }
    return texts;
}
