#pragma once

#include <QtCore/QObject>
#include <QtCore/QSize>

#include <atomic>
#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "DecodedMetafile.h"
#include "PictureCache.h"
#include "services/Error.h"

namespace kvo {

// Decodes metafiles, and draws the rasters of those about to be shown, on
// threads of its own, so that showing a slide never waits for a helper. Runs
// at most one job per thread and one per file at a time; what was wanted last
// runs first. A picture that fails keeps its error until the file changes or
// is forgotten.
class PictureLoader {
public:
    using Decoder =
        std::function<std::shared_ptr<DecodedMetafile>(const std::string& fileName, const std::atomic<bool>& stop)>;
    struct Job {
        std::string fileName;
        QSize size;  // of the raster to draw, device pixels; empty: decode only
    };

    // Into the shared picture cache; threads 0: one per core.
    explicit PictureLoader(Decoder decode = DefaultDecoder(), unsigned threads = 0);
    // Drops what is queued and ends the helpers still running.
    ~PictureLoader();
    PictureLoader(const PictureLoader&) = delete;
    PictureLoader& operator=(const PictureLoader&) = delete;

    static Decoder DefaultDecoder();

    // Runs these before whatever is queued, in this order.
    void Want(const std::vector<Job>& jobs);
    // The picture when it is decoded; else nullptr, and its decoding is queued
    // first. Raises the error its decoding raised.
    std::shared_ptr<const DecodedMetafile> Find(const std::string& fileName);
    // The picture decoded, here when no other thread is at it; raises as Find.
    std::shared_ptr<const DecodedMetafile> Wait(const std::string& fileName);
    // Tries the file again when it is next wanted.
    void Forget(const std::string& fileName);
    // Called on the context's thread with the file's name after each job.
    void OnDone(QObject* context, std::function<void(const std::string&)> done);

private:
    void Work();
    std::shared_ptr<const DecodedMetafile> Run(const Job& job);
    void Start();

    PictureCache& cache_;
    const Decoder decode_;
    const unsigned threadCount_;
    std::atomic<bool> stop_ = false;
    std::mutex mutex_;
    std::condition_variable wake_;  // a job is queued, or a file's job has ended
    std::condition_variable ended_;
    std::deque<Job> queue_;
    std::set<std::string> running_;      // files
    std::map<std::string, Error> failed_;  // by PictureCache::FileKey
    QObject* context_ = nullptr;
    std::function<void(const std::string&)> done_;
    std::vector<std::thread> threads_;  // started with the first job
};

}  // namespace kvo
