#include "StationSession.h"

#include <algorithm>
#include <set>

#include "model/QifResults.h"
#include "model/Report.h"
#include "model/SlideShow.h"
#include "services/Error.h"
#include "services/Language.h"
#include "services/StringIds.h"

namespace kvo {

namespace {

// The same file written again is another part: the sample set tells its samples apart by name.
Report Renamed(const Report& report, const std::string& fileName) {
    std::vector<std::unique_ptr<ReportFeature>> features;
    for (const auto& feature : report.Features()) features.push_back(std::make_unique<ReportFeature>(*feature));
    return Report(fileName, report.Name(), std::move(features));
}

}  // namespace

StationSession::StationSession(const SlideShow& show) : show_(std::make_unique<SlideShow>(show)) {}

StationSession::~StationSession() = default;

std::unique_ptr<SlideShow> StationSession::Fresh() const {
    return std::make_unique<SlideShow>(*show_);
}

const StationPart& StationSession::Receive(const std::string& file) {
    StationPart part{file, QDateTime::currentDateTime(), {}, ToleranceState::NotEvaluated, nullptr};
    try {
        std::vector<Report> reports = LoadReports(file);
        auto report = std::make_shared<Report>(std::move(reports.back()));
        auto show = Fresh();
        report->Evaluate(*show);
        part.worst = show->WorstTolerance();
        part.report = std::move(report);
    } catch (const Error& error) {
        part.error = error.Description();
    }
    history_.push_front(std::move(part));
    if (history_.size() > kHistory) history_.pop_back();
    return history_.front();
}

std::unique_ptr<SlideShow> StationSession::Evaluated(std::size_t index) const {
    if (index >= history_.size() || !history_[index].report)
        throw Error(ErrorNumber::SubscriptOutOfRange, "StationSession.Evaluated", LoadResString(Str::StationNoResults));
    auto show = Fresh();
    history_[index].report->Evaluate(*show);
    return show;
}

std::pair<std::unique_ptr<SlideShow>, int> StationSession::Averaged(std::size_t index, int count) const {
    std::vector<Report> renamed;
    renamed.reserve(history_.size());
    std::vector<const Report*> set;
    std::set<std::string> names;
    for (std::size_t i = index; i < history_.size() && static_cast<int>(set.size()) < count; ++i) {
        const StationPart& part = history_[i];
        if (!part.report) continue;
        const Report* report = part.report.get();
        if (!names.insert(report->FileName()).second) {
            renamed.push_back(Renamed(*report, report->FileName() + "@" + std::to_string(i)));
            report = &renamed.back();
        }
        set.push_back(report);
    }
    if (set.empty())
        throw Error(ErrorNumber::SubscriptOutOfRange, "StationSession.Averaged", LoadResString(Str::StationNoResults));
    // Oldest first, as the files would be named to the averaging tool.
    std::reverse(set.begin(), set.end());
    auto show = Fresh();
    AverageReports(*show, set);
    return {std::move(show), static_cast<int>(set.size())};
}

}  // namespace kvo
