// The track of one aircraft: a double-ended queue of track points in a ring
// that grows by doubling and never shrinks, so that the legs of a running
// aircraft take and give points without touching the heap.
#pragma once

#include "feed/traffic_line.h"

#include <cstddef>
#include <memory>
#include <stdexcept>
#include <utility>

namespace orv {

class TrackQueue {
public:
    TrackQueue() = default;
    TrackQueue(const TrackQueue& OTHER) { *this = OTHER; }
    TrackQueue(TrackQueue&& OTHER) noexcept { swap(OTHER); }
    TrackQueue& operator=(const TrackQueue& OTHER)
    {
        if (this == &OTHER) return *this;
        clear();
        reserve(OTHER.size_);
        for (std::size_t i = 0; i < OTHER.size_; ++i) push_back(OTHER[i]);
        return *this;
    }
    TrackQueue& operator=(TrackQueue&& OTHER) noexcept
    {
        TrackQueue moved(std::move(OTHER));
        swap(moved);
        return *this;
    }

    std::size_t size() const { return size_; }
    bool empty() const { return size_ == 0; }
    TrackPoint& operator[](std::size_t INDEX) { return slots_[(head_ + INDEX) & (capacity_ - 1)]; }
    const TrackPoint& operator[](std::size_t INDEX) const { return slots_[(head_ + INDEX) & (capacity_ - 1)]; }
    /// Bounds-checked access, for the rare paths that may meet a short track.
    TrackPoint& at(std::size_t INDEX)
    {
        if (INDEX >= size_) throw std::out_of_range("track index");
        return (*this)[INDEX];
    }
    TrackPoint& front() { return (*this)[0]; }
    const TrackPoint& front() const { return (*this)[0]; }
    TrackPoint& back() { return (*this)[size_ - 1]; }
    const TrackPoint& back() const { return (*this)[size_ - 1]; }

    void push_back(const TrackPoint& POINT)
    {
        if (size_ == capacity_) {
            const TrackPoint copy = POINT; // POINT may live in the ring that is about to move
            reserve(capacity_ == 0 ? initialCapacity : capacity_ * 2);
            (*this)[size_] = copy;
        } else {
            (*this)[size_] = POINT;
        }
        ++size_;
    }
    void pop_front()
    {
        head_ = (head_ + 1) & (capacity_ - 1);
        --size_;
    }
    void pop_back() { --size_; }
    void clear()
    {
        head_ = 0;
        size_ = 0;
    }
    /// Keeps the first COUNT points.
    void truncate(std::size_t COUNT)
    {
        if (COUNT < size_) size_ = COUNT;
    }
    /// Puts POINT at INDEX, moving the later points one place on.
    void insert(std::size_t INDEX, const TrackPoint& POINT)
    {
        const TrackPoint copy = POINT;
        push_back(copy);
        for (std::size_t i = size_ - 1; i > INDEX; --i) (*this)[i] = (*this)[i - 1];
        (*this)[INDEX] = copy;
    }
    /// Removes the points from FIRST up to, not including, LAST.
    void erase(std::size_t FIRST, std::size_t LAST)
    {
        if (LAST <= FIRST) return;
        const std::size_t gone = LAST - FIRST;
        for (std::size_t i = FIRST; i + gone < size_; ++i) (*this)[i] = (*this)[i + gone];
        size_ -= gone;
    }
    void erase(std::size_t INDEX) { erase(INDEX, INDEX + 1); }

    void swap(TrackQueue& OTHER) noexcept
    {
        std::swap(slots_, OTHER.slots_);
        std::swap(capacity_, OTHER.capacity_);
        std::swap(head_, OTHER.head_);
        std::swap(size_, OTHER.size_);
    }

private:
    static constexpr std::size_t initialCapacity = 32; ///< a power of two; typical tracks hold 5 to 20 points

    void reserve(std::size_t CAPACITY)
    {
        if (CAPACITY <= capacity_) return;
        std::size_t capacity = capacity_ == 0 ? initialCapacity : capacity_;
        while (capacity < CAPACITY) capacity *= 2;
        auto slots = std::make_unique<TrackPoint[]>(capacity);
        for (std::size_t i = 0; i < size_; ++i) slots[i] = (*this)[i];
        slots_ = std::move(slots);
        capacity_ = capacity;
        head_ = 0;
    }

    std::unique_ptr<TrackPoint[]> slots_;
    std::size_t capacity_ = 0; ///< zero or a power of two
    std::size_t head_ = 0;
    std::size_t size_ = 0;
};

} // namespace orv
