#pragma once

#include <QtCore/QSize>
#include <QtGui/QImage>

#include <cstddef>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "DecodedMetafile.h"

namespace kvo {

// Decoded metafiles and their rasters at the size last shown, by file, so that
// showing a slide again neither starts a helper nor replays a recording. What it
// holds is kept within a budget of bytes by dropping the least recently shown
// pictures; a picture still on a slide keeps its decoded form through its owner.
class PictureCache {
public:
    static constexpr std::size_t kDefaultBudget = std::size_t{256} << 20;

    explicit PictureCache(std::size_t budgetBytes = kDefaultBudget) : budget_(budgetBytes) {}

    // The one the slide views share.
    static PictureCache& Shared();

    // The file as it is on disk now, decoded by decode() when it is not held.
    // decode() runs unlocked and may raise.
    std::shared_ptr<const DecodedMetafile> Decoded(const std::string& fileName,
                                                   const std::function<std::shared_ptr<DecodedMetafile>()>& decode);
    // The file as it is on disk now when it is held decoded, else nullptr.
    std::shared_ptr<const DecodedMetafile> Find(const std::string& fileName) const;
    // The picture drawn at this size in device pixels; drawn, and kept, when it
    // is not held at that size.
    QImage Raster(const std::shared_ptr<const DecodedMetafile>& decoded, QSize size);
    // The raster held for the picture, at whatever size it was last drawn (null
    // when none); counts as showing it.
    QImage HeldRaster(const std::shared_ptr<const DecodedMetafile>& decoded);

    // Names a file's name and its state on disk, which a changed picture changes.
    static std::string FileKey(const std::string& fileName);

    std::size_t Bytes() const;
    void SetBudget(std::size_t budgetBytes);

private:
    struct Entry {
        std::shared_ptr<const DecodedMetafile> decoded;
        QImage raster;
        std::list<std::string>::iterator recent;
    };
    static std::size_t CostOf(const Entry& entry);
    Entry& Hold(const std::shared_ptr<const DecodedMetafile>& decoded);
    void Trim(const std::string& keep);

    mutable std::mutex mutex_;
    std::size_t budget_;
    std::size_t bytes_ = 0;
    std::map<std::string, Entry> entries_;  // by DecodedMetafile::key
    std::list<std::string> recent_;         // most recently shown first
};

}  // namespace kvo
