#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <new>
#include <utility>

namespace kvo {

// Objects made in blocks of many, each keeping its address until it is let
// go, when its slot is taken by the next one made: a show's thousands of
// cells cost a few allocations instead of one each. The pool must outlive
// what it made.
template <typename T>
class Pool {
public:
    struct Release {
        Pool* pool;
        void operator()(T* object) const { pool->Free(object); }
    };
    using Ptr = std::unique_ptr<T, Release>;

    Pool() = default;
    Pool(const Pool&) = delete;
    Pool& operator=(const Pool&) = delete;
    ~Pool() {
        while (blocks_ != nullptr) {
            auto* bytes = reinterpret_cast<std::byte*>(blocks_);
            blocks_ = blocks_->previous;
            delete[] bytes;
        }
    }

    // Room for count more objects in one block; freed slots are taken first.
    void Reserve(std::size_t count) {
        if (count > room_) NewBlock(count);
    }

    template <typename... Args>
    Ptr Make(Args&&... args) {
        Slot* slot = Take();
        try {
            return Ptr(::new (static_cast<void*>(slot)) T(std::forward<Args>(args)...), Release{this});
        } catch (...) {
            Give(slot);
            throw;
        }
    }

private:
    union Slot {
        Slot* nextFree;
        alignas(T) std::byte bytes[sizeof(T)];
    };
    static constexpr std::size_t kFirstBlock = 4;
    // Small, since every slide's pools leave part of their last block unused.
    static constexpr std::size_t kLargestBlock = 16;

    void Free(T* object) {
        object->~T();
        Give(reinterpret_cast<Slot*>(object));
    }
    void Give(Slot* slot) {
        slot->nextFree = free_;
        free_ = slot;
    }
    Slot* Take() {
        if (free_ != nullptr) return std::exchange(free_, free_->nextFree);
        if (room_ == 0) NewBlock(std::min(kLargestBlock, std::max(kFirstBlock, lastBlock_ * 2)));
        --room_;
        return next_++;
    }
    // A block's slots lie behind the link to the block before it: one
    // allocation each, where a list of blocks cost one more per collection.
    struct Block {
        Block* previous;
    };
    static constexpr std::size_t kSlotsAt = (sizeof(Block) + alignof(Slot) - 1) / alignof(Slot) * alignof(Slot);
    static_assert(alignof(Slot) <= __STDCPP_DEFAULT_NEW_ALIGNMENT__);
    void NewBlock(std::size_t count) {
        std::byte* bytes = new std::byte[kSlotsAt + count * sizeof(Slot)];
        blocks_ = ::new (bytes) Block{blocks_};
        next_ = std::launder(reinterpret_cast<Slot*>(bytes + kSlotsAt));
        room_ = lastBlock_ = count;
    }

    Block* blocks_ = nullptr;
    Slot* next_ = nullptr;
    std::size_t room_ = 0;
    std::size_t lastBlock_ = 0;
    Slot* free_ = nullptr;
};

}  // namespace kvo
