#pragma once

#include <QtCore/QDateTime>

#include <cstdint>
#include <deque>
#include <memory>
#include <string>

namespace kvo {

class Report;
class SlideShow;

// One part as the station received it: its results, or why they could not be read.
struct StationPart {
    std::string file;
    QDateTime received;
    std::string error;  // empty when the results were read
    int16_t worst = 0;  // the worst state of the show evaluated with them
    std::shared_ptr<const Report> report;  // of several results in a file, the latest part's
};

// The station's parts: the show as the author saved it, and the last parts
// received, newest first, each evaluated on a fresh copy of it so that no
// part's states stay behind in the next.
class StationSession {
public:
    static constexpr std::size_t kHistory = 20;

    explicit StationSession(const SlideShow& show);
    ~StationSession();

    // Reads a results file as the newest part; a file that cannot be read
    // becomes a part with its error, and nothing else changes.
    const StationPart& Receive(const std::string& file);
    const std::deque<StationPart>& History() const { return history_; }

    // The show evaluated with the part at index (0 is the newest); error 9 for a part without results.
    std::unique_ptr<SlideShow> Evaluated(std::size_t index) const;
    // The show averaged over the part at index and the parts before it that
    // were read, count of them at most, as a sample set is; Averaged(...).second
    // says how many it took.
    std::pair<std::unique_ptr<SlideShow>, int> Averaged(std::size_t index, int count) const;

private:
    std::unique_ptr<SlideShow> Fresh() const;

    std::unique_ptr<const SlideShow> show_;  // what every part starts from
    std::deque<StationPart> history_;
};

}  // namespace kvo
