#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "Slide.h"

namespace kvo {

// The slides of a slide show, in order, 1-based.
class SlideCollection {
public:
    SlideCollection() = default;
    explicit SlideCollection(const SlideCollection& other);
    bool operator==(const SlideCollection& other) const;
    // Puts slide in place of slide index and hands back the one it replaces.
    void Exchange(int32_t index, std::unique_ptr<Slide>& slide);
    SlideCollection& operator=(const SlideCollection&) = delete;

    void Initialize() { slides_.clear(); }
    // Removes slides from the front while more than one is left: the last one
    // stays, as it always has.
    void Terminate();
    int32_t Count() const { return static_cast<int32_t>(slides_.size()); }
    // 1-based; error 9 outside 1..Count.
    Slide& Item(int32_t index) const;
    Slide& AddFromFile(BlockParser& parser);
    // A Long count, then that many slide records.
    void AddFromBinary(BinaryStream& stream, int32_t version);
    void SaveToBinary(BinaryStream& stream) const;
    // A new slide with the default name, after index (at the end without one).
    Slide& Add(std::optional<int32_t> index = std::nullopt);
    // The same, before index (at the end without one).
    Slide& Insert(std::optional<int32_t> index = std::nullopt);
    // A copy of the slide at index, icons and all, just after it; error 9 outside 1..Count.
    Slide& Duplicate(int32_t index);
    // Moves the slide one place towards the front; returns index - 1.
    int32_t MoveUp(int32_t index);
    // Moves the slide one place towards the end; returns index + 1.
    int32_t MoveDown(int32_t index);
    void Remove(int32_t index);
    bool IsOutOfTolerance(int32_t index) const { return Item(index).IsOutOfTolerance(); }
    int16_t WorstTolerance() const;

    auto begin() const { return slides_.begin(); }
    auto end() const { return slides_.end(); }

private:
    std::unique_ptr<Slide> NewSlide() const;
    Slide& InsertAt(std::size_t position, std::unique_ptr<Slide> slide);

    std::vector<std::unique_ptr<Slide>> slides_;
};

}  // namespace kvo
