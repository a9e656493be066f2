// Counting allocator hooks and free functions shared by the layer tests.
#ifndef FLOWER_TESTS_PETAL_HOOKS_H
#define FLOWER_TESTS_PETAL_HOOKS_H

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "petal.h"

// Every hook call and every free, in order, as "name:size".
inline std::vector<std::string>& Events()
{
    static std::vector<std::string> events;
    return events;
}

inline void Log(const char* name, std::uintptr_t size)
{
    Events().push_back(std::string(name) + ":" + std::to_string(size));
}

// Frees a block from a counting hook; its datum is the block's size.
inline void CountingFree(u8* block, void* data)
{
    Log("free", reinterpret_cast<std::uintptr_t>(data));
    std::free(block);
}

// Zero-filling hook whose blocks log their size when freed.
inline u8* CountingCalloc(i32 size, FreeFunction* outFree, void** outFreeData, void* data)
{
    Log(data ? "zero-with-datum" : "zero", std::uintptr_t(size));
    if (size < 1 || !outFree || !outFreeData)
        return nullptr;
    *outFree = CountingFree;
    *outFreeData = reinterpret_cast<void*>(std::uintptr_t(size));
    return static_cast<u8*>(std::calloc(std::size_t(size), 1));
}

// Restores the default allocators whatever a test installed.
class HookedTest : public ::testing::Test {
  protected:
    void SetUp() override { Events().clear(); }
    void TearDown() override
    {
        SetAllocator(nullptr, nullptr, nullptr);
        SetPelAllocator(nullptr, nullptr, nullptr, nullptr);
    }
};

#endif
