#include "IconViewCollection.h"

#include <algorithm>

#include "services/Error.h"

namespace kvo {

IconView& IconViewCollection::Add(kvo::Icon& icon, std::unique_ptr<IconSurface> surface) {
    views_.push_back(std::make_unique<IconView>(slideView_, icon, std::move(surface)));
    return *views_.back();
}

IconView& IconViewCollection::Item(int32_t index) const {
    if (index < 1 || index > Count())
        throw Error(ErrorNumber::SubscriptOutOfRange, "IconViewCollection.Item", "Subscript out of range: " + std::to_string(index));
    return *views_[static_cast<std::size_t>(index - 1)];
}

IconView* IconViewCollection::FindByIndex(int16_t surfaceIndex) const {
    for (const auto& view : views_)
        if (view->Index() == surfaceIndex) return view.get();
    return nullptr;
}

void IconViewCollection::Remove(int32_t index) {
    Item(index);  // the same range check
    views_.erase(views_.begin() + (index - 1));
}

void IconViewCollection::Remove(const IconView& view) {
    const auto it = std::find_if(views_.begin(), views_.end(), [&](const auto& held) { return held.get() == &view; });
    if (it != views_.end()) views_.erase(it);
}

}  // namespace kvo
