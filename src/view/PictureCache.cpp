#include "PictureCache.h"

#include <QtGui/QPainter>

#include <filesystem>

namespace kvo {

std::string PictureCache::FileKey(const std::string& fileName) {
    std::error_code ec;
    const auto written = std::filesystem::last_write_time(fileName, ec).time_since_epoch().count();
    const auto size = std::filesystem::file_size(fileName, ec);
    return fileName + '\n' + std::to_string(written) + '\n' + std::to_string(size);
}

PictureCache& PictureCache::Shared() {
    static PictureCache cache;
    return cache;
}

std::shared_ptr<const DecodedMetafile> PictureCache::Decoded(
    const std::string& fileName, const std::function<std::shared_ptr<DecodedMetafile>()>& decode) {
    const std::string key = FileKey(fileName);
    {
        std::lock_guard lock(mutex_);
        if (const auto it = entries_.find(key); it != entries_.end()) return it->second.decoded;
    }
    std::shared_ptr<DecodedMetafile> made = decode();
    made->key = key;
    const std::shared_ptr<const DecodedMetafile> decoded = std::move(made);
    std::lock_guard lock(mutex_);
    Hold(decoded);
    Trim(key);
    return decoded;
}

std::shared_ptr<const DecodedMetafile> PictureCache::Find(const std::string& fileName) const {
    const std::string key = FileKey(fileName);
    std::lock_guard lock(mutex_);
    const auto it = entries_.find(key);
    return it != entries_.end() ? it->second.decoded : nullptr;
}

QImage PictureCache::Raster(const std::shared_ptr<const DecodedMetafile>& decoded, QSize size) {
    {
        std::lock_guard lock(mutex_);
        Entry& entry = Hold(decoded);
        if (entry.raster.size() == size) return entry.raster;
    }
    // One thread draws a picture at a time; another that wants it at the same
    // size then finds it drawn.
    std::lock_guard drawing(decoded->drawing);
    {
        std::lock_guard lock(mutex_);
        Entry& entry = Hold(decoded);
        if (entry.raster.size() == size) return entry.raster;
    }
    // Drawn without the cache's lock: a large picture takes a while, and other pictures may be wanted meanwhile.
    QImage raster(size, QImage::Format_ARGB32_Premultiplied);
    raster.fill(Qt::transparent);
    {
        QPainter offscreen(&raster);
        offscreen.setRenderHint(QPainter::Antialiasing);
        offscreen.setRenderHint(QPainter::SmoothPixmapTransform);
        decoded->Draw(offscreen, QRectF(QPointF(0, 0), QSizeF(size)));
    }
    std::lock_guard lock(mutex_);
    Entry& entry = Hold(decoded);
    bytes_ -= CostOf(entry);
    entry.raster = raster;
    bytes_ += CostOf(entry);
    Trim(decoded->key);
    return raster;
}

QImage PictureCache::HeldRaster(const std::shared_ptr<const DecodedMetafile>& decoded) {
    std::lock_guard lock(mutex_);
    return Hold(decoded).raster;
}

std::size_t PictureCache::Bytes() const {
    std::lock_guard lock(mutex_);
    return bytes_;
}

void PictureCache::SetBudget(std::size_t budgetBytes) {
    std::lock_guard lock(mutex_);
    budget_ = budgetBytes;
    Trim({});
}

std::size_t PictureCache::CostOf(const Entry& entry) {
    return entry.decoded->bytes + static_cast<std::size_t>(entry.raster.sizeInBytes());
}

// The entry of this picture, made when it has none, as the most recently shown.
PictureCache::Entry& PictureCache::Hold(const std::shared_ptr<const DecodedMetafile>& decoded) {
    auto [it, made] = entries_.try_emplace(decoded->key);
    Entry& entry = it->second;
    if (made) {
        entry.decoded = decoded;
        recent_.push_front(decoded->key);
        entry.recent = recent_.begin();
        bytes_ += CostOf(entry);
    } else {
        recent_.splice(recent_.begin(), recent_, entry.recent);
    }
    return entry;
}

// Drops the least recently shown until the budget holds, never the one being
// shown: a picture larger than the whole budget is still drawn.
void PictureCache::Trim(const std::string& keep) {
    while (bytes_ > budget_ && !recent_.empty() && recent_.back() != keep) {
        const auto it = entries_.find(recent_.back());
        bytes_ -= CostOf(it->second);
        entries_.erase(it);
        recent_.pop_back();
    }
}

}  // namespace kvo
