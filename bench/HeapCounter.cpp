// SPDX-License-Identifier: MIT
#include "HeapCounter.h"

#include <malloc.h>

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>

namespace tallywick::bench {
namespace {

std::atomic<bool> counting{false};
std::atomic<std::int64_t> live{0};
std::atomic<std::int64_t> peak{0};

void noteAllocated(void* block) {
    if (!counting.load(std::memory_order_relaxed)) return;
    const auto size = static_cast<std::int64_t>(malloc_usable_size(block));
    const auto now = live.fetch_add(size, std::memory_order_relaxed) + size;
    auto high = peak.load(std::memory_order_relaxed);
    while (now > high && !peak.compare_exchange_weak(high, now, std::memory_order_relaxed)) {
    }
}

// A block allocated before counting started and freed during it lowers
// `live`: the figures are net changes, which is what a before/after needs.
void noteFreed(void* block) {
    if (block == nullptr || !counting.load(std::memory_order_relaxed)) return;
    live.fetch_sub(static_cast<std::int64_t>(malloc_usable_size(block)), std::memory_order_relaxed);
}

}  // namespace

void startHeapCounting() {
    live.store(0);
    peak.store(0);
    counting.store(true);
}

HeapFigures heapFigures() {
    return {live.load(), peak.load()};
}

HeapFigures stopHeapCounting() {
    counting.store(false);
    return heapFigures();
}

}  // namespace tallywick::bench

namespace {

void* allocate(std::size_t size, std::size_t alignment) {
    void* block = nullptr;
    if (alignment <= alignof(std::max_align_t)) {
        block = std::malloc(size == 0 ? 1 : size);
    } else if (posix_memalign(&block, alignment, size == 0 ? 1 : size) != 0) {
        block = nullptr;
    }
    if (block != nullptr) tallywick::bench::noteAllocated(block);
    return block;
}

// The throwing forms keep the standard contract: call the new-handler until
// it gives up, then throw.
void* allocateOrThrow(std::size_t size, std::size_t alignment) {
    for (;;) {
        if (void* block = allocate(size, alignment)) return block;
        const std::new_handler handler = std::get_new_handler();
        if (handler == nullptr) throw std::bad_alloc();
        handler();
    }
}

void release(void* block) noexcept {
    tallywick::bench::noteFreed(block);
    std::free(block);
}

constexpr std::size_t plain = alignof(std::max_align_t);

}  // namespace

void* operator new(std::size_t size) {
    return allocateOrThrow(size, plain);
}
void* operator new[](std::size_t size) {
    return allocateOrThrow(size, plain);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return allocate(size, plain);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return allocate(size, plain);
}
void* operator new(std::size_t size, std::align_val_t a) {
    return allocateOrThrow(size, std::size_t(a));
}
void* operator new[](std::size_t size, std::align_val_t a) {
    return allocateOrThrow(size, std::size_t(a));
}
void* operator new(std::size_t size, std::align_val_t a, const std::nothrow_t&) noexcept {
    return allocate(size, std::size_t(a));
}
void* operator new[](std::size_t size, std::align_val_t a, const std::nothrow_t&) noexcept {
    return allocate(size, std::size_t(a));
}

void operator delete(void* p) noexcept {
    release(p);
}
void operator delete[](void* p) noexcept {
    release(p);
}
void operator delete(void* p, std::size_t) noexcept {
    release(p);
}
void operator delete[](void* p, std::size_t) noexcept {
    release(p);
}
void operator delete(void* p, const std::nothrow_t&) noexcept {
    release(p);
}
void operator delete[](void* p, const std::nothrow_t&) noexcept {
    release(p);
}
void operator delete(void* p, std::align_val_t) noexcept {
    release(p);
}
void operator delete[](void* p, std::align_val_t) noexcept {
    release(p);
}
void operator delete(void* p, std::size_t, std::align_val_t) noexcept {
    release(p);
}
void operator delete[](void* p, std::size_t, std::align_val_t) noexcept {
    release(p);
}
void operator delete(void* p, std::align_val_t, const std::nothrow_t&) noexcept {
    release(p);
}
void operator delete[](void* p, std::align_val_t, const std::nothrow_t&) noexcept {
    release(p);
}
