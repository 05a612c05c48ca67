#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "IconView.h"

namespace kvo {

// The icon views of the current slide, in slide order.
class IconViewCollection {
public:
    explicit IconViewCollection(SlideView& slideView) : slideView_(slideView) {}

    IconView& Add(kvo::Icon& icon, std::unique_ptr<IconSurface> surface);
    // 1-based; error 9 outside 1..Count.
    IconView& Item(int32_t index) const;
    // The view whose surface has this index; nullptr when none has.
    IconView* FindByIndex(int16_t surfaceIndex) const;
    void Remove(int32_t index);
    void Remove(const IconView& view);
    int32_t Count() const { return static_cast<int32_t>(views_.size()); }

    auto begin() const { return views_.begin(); }
    auto end() const { return views_.end(); }

private:
    SlideView& slideView_;
    std::vector<std::unique_ptr<IconView>> views_;
};

}  // namespace kvo
