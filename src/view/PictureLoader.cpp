#include "PictureLoader.h"

#include <QtCore/QMetaObject>

#include <algorithm>

#include "Picture.h"
#include "services/Language.h"
#include "services/StringIds.h"

namespace kvo {

namespace {

constexpr int32_t kInvalidPicture = 481;

}  // namespace

PictureLoader::PictureLoader(Decoder decode, unsigned threads)
    : cache_(PictureCache::Shared()),
      decode_(std::move(decode)),
      threadCount_(threads != 0 ? threads : std::max(1u, std::thread::hardware_concurrency())) {}

PictureLoader::~PictureLoader() {
    {
        std::lock_guard lock(mutex_);
        stop_ = true;
        queue_.clear();
    }
    wake_.notify_all();
    for (std::thread& thread : threads_) thread.join();
}

PictureLoader::Decoder PictureLoader::DefaultDecoder() {
    return [](const std::string& fileName, const std::atomic<bool>& stop) { return DecodeMetafile(fileName, &stop); };
}

void PictureLoader::Want(const std::vector<Job>& jobs) {
    {
        std::lock_guard lock(mutex_);
        for (auto job = jobs.rbegin(); job != jobs.rend(); ++job) {
            std::erase_if(queue_, [&](const Job& queued) { return queued.fileName == job->fileName; });
            queue_.push_front(*job);
        }
        Start();
    }
    wake_.notify_all();
}

std::shared_ptr<const DecodedMetafile> PictureLoader::Find(const std::string& fileName) {
    const std::string key = PictureCache::FileKey(fileName);
    {
        std::lock_guard lock(mutex_);
        if (const auto failure = failed_.find(key); failure != failed_.end()) throw failure->second;
        if (auto decoded = cache_.Find(fileName)) return decoded;
        const bool queued = std::any_of(queue_.begin(), queue_.end(), [&](const Job& job) { return job.fileName == fileName; });
        if (queued || running_.count(fileName) != 0) return nullptr;
        queue_.push_front({fileName, {}});
        Start();
    }
    wake_.notify_all();
    return nullptr;
}

std::shared_ptr<const DecodedMetafile> PictureLoader::Wait(const std::string& fileName) {
    const std::string key = PictureCache::FileKey(fileName);
    {
        std::unique_lock lock(mutex_);
        ended_.wait(lock, [&] { return running_.count(fileName) == 0; });
        if (const auto failure = failed_.find(key); failure != failed_.end()) throw failure->second;
        running_.insert(fileName);
    }
    auto decoded = Run({fileName, {}});
    std::lock_guard lock(mutex_);
    running_.erase(fileName);
    ended_.notify_all();
    wake_.notify_all();
    if (!decoded) throw failed_.at(key);
    return decoded;
}

void PictureLoader::Forget(const std::string& fileName) {
    std::lock_guard lock(mutex_);
    failed_.erase(PictureCache::FileKey(fileName));
}

void PictureLoader::OnDone(QObject* context, std::function<void(const std::string&)> done) {
    std::lock_guard lock(mutex_);
    context_ = context;
    done_ = std::move(done);
}

// With the lock held.
void PictureLoader::Start() {
    while (threads_.size() < threadCount_) threads_.emplace_back([this] { Work(); });
}

void PictureLoader::Work() {
    std::unique_lock lock(mutex_);
    while (!stop_) {
        // A file another thread is at waits for it, so that one file is never decoded, or drawn, twice at once.
        const auto next = std::find_if(queue_.begin(), queue_.end(),
                                       [&](const Job& job) { return running_.count(job.fileName) == 0; });
        if (next == queue_.end()) {
            wake_.wait(lock);
            continue;
        }
        const Job job = *next;
        queue_.erase(next);
        running_.insert(job.fileName);
        lock.unlock();
        Run(job);
        lock.lock();
        running_.erase(job.fileName);
        ended_.notify_all();
        wake_.notify_all();
        if (context_ && done_ && !stop_)
            QMetaObject::invokeMethod(context_, [done = done_, fileName = job.fileName] { done(fileName); }, Qt::QueuedConnection);
    }
}

// Without the lock. A failure is kept for the file as it is on disk now;
// returns nullptr for one.
std::shared_ptr<const DecodedMetafile> PictureLoader::Run(const Job& job) {
    const std::string key = PictureCache::FileKey(job.fileName);
    try {
        {
            std::lock_guard lock(mutex_);
            if (failed_.count(key) != 0) return nullptr;
        }
        auto decoded = cache_.Decoded(job.fileName, [&] { return decode_(job.fileName, stop_); });
        if (!job.size.isEmpty() && !stop_) cache_.Raster(decoded, job.size);
        return decoded;
    } catch (const Error& error) {
        std::lock_guard lock(mutex_);
        if (!stop_) failed_.insert_or_assign(key, error);
    } catch (const std::exception& error) {
        std::lock_guard lock(mutex_);
        failed_.insert_or_assign(key, Error(kInvalidPicture, "Metafile.LoadFile",
                                            FormatResString(Str::PictureUnreadableBecause, {job.fileName, error.what()})));
    }
    return nullptr;
}

}  // namespace kvo
