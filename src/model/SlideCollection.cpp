#include "SlideCollection.h"

#include <algorithm>
#include <utility>

#include "BinaryStream.h"
#include "services/Error.h"
#include "services/Language.h"
#include "services/StringIds.h"

namespace kvo {

namespace {

// Two empty texts, a Boolean, two Longs and five Integers.
constexpr uint64_t kMinimalSlideBytes = 4 + 2 + 8 + 10;

void CheckPosition(int32_t index, std::size_t count, const char* source) {
    if (index < 1 || static_cast<std::size_t>(index) > count)
        throw Error(ErrorNumber::SubscriptOutOfRange, source, "Subscript out of range: " + std::to_string(index));
}

}  // namespace

void SlideCollection::Terminate() {
    if (slides_.size() > 1) slides_.erase(slides_.begin(), slides_.end() - 1);
}

SlideCollection::SlideCollection(const SlideCollection& other) {
    slides_.reserve(other.slides_.size());
    for (const auto& slide : other.slides_) slides_.push_back(std::make_unique<Slide>(*slide));
}

bool SlideCollection::operator==(const SlideCollection& other) const {
    return std::equal(slides_.begin(), slides_.end(), other.slides_.begin(), other.slides_.end(),
                      [](const auto& a, const auto& b) { return *a == *b; });
}

void SlideCollection::Exchange(int32_t index, std::unique_ptr<Slide>& slide) {
    Item(index);  // error 9 outside 1..Count
    slides_[static_cast<std::size_t>(index - 1)].swap(slide);
}

Slide& SlideCollection::Item(int32_t index) const {
    CheckPosition(index, slides_.size(), "SlideCollection.Item");
    return *slides_[static_cast<std::size_t>(index - 1)];
}

Slide& SlideCollection::InsertAt(std::size_t position, std::unique_ptr<Slide> slide) {
    return **slides_.insert(slides_.begin() + static_cast<std::ptrdiff_t>(position), std::move(slide));
}

Slide& SlideCollection::AddFromFile(BlockParser& parser) {
    auto slide = std::make_unique<Slide>();
    slide->Initialize();
    slide->LoadFromFile(parser);
    return InsertAt(slides_.size(), std::move(slide));
}

void SlideCollection::AddFromBinary(BinaryStream& stream, int32_t version) {
    const int32_t count = stream.GetLong();
    slides_.reserve(slides_.size() + ReservedCount(count, stream.Remaining(), kMinimalSlideBytes));
    for (int32_t i = 0; i < count; ++i) {
        auto slide = std::make_unique<Slide>();
        slide->Initialize();
        slide->LoadFromBinary(stream, version);
        InsertAt(slides_.size(), std::move(slide));
    }
}

void SlideCollection::SaveToBinary(BinaryStream& stream) const {
    stream.WriteLong(Count());
    for (const auto& slide : slides_) slide->SaveToBinary(stream);
}

std::unique_ptr<Slide> SlideCollection::NewSlide() const {
    auto slide = std::make_unique<Slide>();
    slide->Initialize();
    slide->SetName(LoadResString(Str::NewSlideName));
    return slide;
}

Slide& SlideCollection::Add(std::optional<int32_t> index) {
    if (!index) return InsertAt(slides_.size(), NewSlide());
    CheckPosition(*index, slides_.size(), "SlideCollection.Add");
    return InsertAt(static_cast<std::size_t>(*index), NewSlide());
}

Slide& SlideCollection::Duplicate(int32_t index) {
    return InsertAt(static_cast<std::size_t>(index), std::make_unique<Slide>(Item(index)));
}

Slide& SlideCollection::Insert(std::optional<int32_t> index) {
    if (!index) return InsertAt(slides_.size(), NewSlide());
    CheckPosition(*index, slides_.size(), "SlideCollection.Insert");
    return InsertAt(static_cast<std::size_t>(*index - 1), NewSlide());
}

int32_t SlideCollection::MoveUp(int32_t index) {
    // Offered only where there is a slide before; anything else changes nothing.
    if (index >= 2 && index <= Count())
        std::swap(slides_[static_cast<std::size_t>(index - 1)], slides_[static_cast<std::size_t>(index - 2)]);
    return index - 1;
}

int32_t SlideCollection::MoveDown(int32_t index) {
    if (index >= 1 && index < Count())
        std::swap(slides_[static_cast<std::size_t>(index - 1)], slides_[static_cast<std::size_t>(index)]);
    return index + 1;
}

void SlideCollection::Remove(int32_t index) {
    Item(index).Terminate();
    slides_.erase(slides_.begin() + (index - 1));
}

int16_t SlideCollection::WorstTolerance() const {
    int16_t worst = 0;
    for (const auto& slide : slides_)
        if (slide->WorstTolerance() > worst) worst = slide->WorstTolerance();
    return worst;
}

}  // namespace kvo
