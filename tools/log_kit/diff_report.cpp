#include "log_kit/diff_report.h"

#include <algorithm>
#include <cstdlib>

#include <fmt/format.h>

#include "log_kit/record_fields.h"
#include "log_kit/text.h"

static constexpr size_t MAX_RUNS_SHOWN = 10;

static char const* nameOf(eShiftSource source)
{
    switch (source) {
    case eShiftSource::Given:
        return "given";
    case eShiftSource::Content:
        return "content";
    case eShiftSource::Utc:
        return "utc";
    case eShiftSource::Overlap:
        return "overlap";
    case eShiftSource::Start:
        break;
    }
    return "start";
}

static char const* reasonFor(eShiftSource source)
{
    switch (source) {
    case eShiftSource::Given:
        return "as given";
    case eShiftSource::Content:
        return "by records that differ in their stamps alone";
    case eShiftSource::Utc:
        return "by their UTC, to about a sample";
    case eShiftSource::Overlap:
        return "as no record and no UTC tells it";
    case eShiftSource::Start:
        break;
    }
    return "so that they begin together, as nothing else tells it";
}

static std::string shiftText(DiffOptions const& options, TimeShift shift)
{
    std::string const what = shift.ms == 0
                                 ? "none"
                                 : fmt::format("{} is {} ms {} than {}", options.b,
                                               grouped(static_cast<uint64_t>(std::abs(shift.ms))),
                                               shift.ms > 0 ? "later" : "earlier", options.a);
    return fmt::format("time shift: {}, {}\n", what, reasonFor(shift.source));
}

static std::string rowText(std::string const& name, TypeDifference const& type)
{
    return fmt::format("{:<12} {:>13} {:>13} {:>13} {:>13}\n", name, grouped(type.identical),
                       grouped(type.differing), grouped(type.onlyInA), grouped(type.onlyInB));
}

static std::string tableText(DiffResult const& result)
{
    std::string text = fmt::format("{:<12} {:>13} {:>13} {:>13} {:>13}\n", "record", "identical",
                                   "differing", "only in A", "only in B");
    TypeDifference total;
    for (size_t index = 0; index < RECORD_TYPE_COUNT; ++index) {
        TypeDifference const& type = result.types[index];
        text += rowText(RECORD_NAMES[index], type);
        total.identical += type.identical;
        total.differing += type.differing;
        total.onlyInA += type.onlyInA;
        total.onlyInB += type.onlyInB;
    }
    return text + rowText("total", total);
}

static std::string fieldsText(DiffResult const& result)
{
    std::string text;
    for (size_t index = 0; index < RECORD_TYPE_COUNT; ++index) {
        auto const& fields = recordFields(index);
        for (size_t i = 0; i < fields.size(); ++i) {
            FieldDifference const& field = result.types[index].fields[i];
            if (field.count == 0)
                continue;
            text += fmt::format("{}.{} differs in {}", RECORD_NAMES[index], fields[i].name,
                                counted(field.count, "record"));
            if (field.largest)
                text += fmt::format(", by at most {:g}", *field.largest);
            text += "\n";
        }
    }
    return text;
}

static std::string runText(DifferenceRun const& run)
{
    char const* const where = run.kind == eDifference::Differing ? "differing"
                              : run.kind == eDifference::OnlyInA ? "only in A"
                                                                 : "only in B";
    if (run.count == 1)
        return fmt::format("{}: {} at ticks {}, frame {}\n", where, RECORD_NAMES[run.index],
                           run.ticks, run.frame);
    return fmt::format("{}: {} from ticks {} to {}, frames {} to {}\n", where,
                       counted(run.count, "record"), run.ticks, run.lastTicks, run.frame,
                       run.lastFrame);
}

std::string diffText(DiffOptions const& options, DiffResult const& result)
{
    std::string text =
        fmt::format("A {}: {}\nB {}: {}\n", options.a, counted(result.a.frames, "frame"), options.b,
                    counted(result.b.frames, "frame"));
    text += shiftText(options, result.shift) + tableText(result) + fieldsText(result);
    size_t const shown = std::min(result.runs.size(), MAX_RUNS_SHOWN);
    for (size_t i = 0; i < shown; ++i)
        text += runText(result.runs[i]);
    if (shown < result.runs.size())
        text += "and more\n";
    if (result.inBoth() == 0)
        text += "no record is in both: --shift and --tolerance tell which ones belong together\n";
    return text;
}

static Json jsonOf(size_t index, TypeDifference const& type)
{
    Json fields = Json::object();
    for (size_t i = 0; i < type.fields.size(); ++i)
        if (type.fields[i].count > 0)
            fields[recordFields(index)[i].name] = {{"count", type.fields[i].count},
                                                   {"largest", jsonOf(type.fields[i].largest)}};
    return {{"identical", type.identical},
            {"differing", type.differing},
            {"only_in_a", type.onlyInA},
            {"only_in_b", type.onlyInB},
            {"fields", fields}};
}

static Json jsonOf(DifferenceRun const& run)
{
    char const* const kind = run.kind == eDifference::Differing ? "differing"
                             : run.kind == eDifference::OnlyInA ? "only_in_a"
                                                                : "only_in_b";
    return {{"kind", kind},
            {"count", run.count},
            {"type", RECORD_NAMES[run.index]},
            {"first_frame", run.frame},
            {"last_frame", run.lastFrame},
            {"first_ticks", run.ticks},
            {"last_ticks", run.lastTicks}};
}

static Json jsonOf(std::string const& file, LogTotals const& totals)
{
    return {{"file", file},
            {"bytes", totals.bytes},
            {"frames", totals.frames},
            {"clean", totals.isClean()}};
}

Json diffJson(DiffOptions const& options, DiffResult const& result)
{
    Json types = Json::object();
    for (size_t index = 0; index < RECORD_TYPE_COUNT; ++index)
        types[RECORD_NAMES[index]] = jsonOf(index, result.types[index]);
    Json runs = Json::array();
    for (DifferenceRun const& run : result.runs)
        runs.push_back(jsonOf(run));
    return {{"a", jsonOf(options.a, result.a)},
            {"b", jsonOf(options.b, result.b)},
            {"same", result.isSame()},
            {"shift_ms", result.shift.ms},
            {"shift_by", nameOf(result.shift.source)},
            {"types", types},
            {"differences", runs}};
}
