// Counting allocator hooks, free functions and update functions shared by the layer tests.
#ifndef FLOWER_TESTS_PETAL_HOOKS_H
#define FLOWER_TESTS_PETAL_HOOKS_H

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "petal.h"

using Strings = std::vector<std::string>;

// Every hook call, free and update, in order: "name:size" or "name{x,y,w,h}".
inline Strings& Events()
{
    static Strings events;
    return events;
}

inline void Log(const char* name, std::uintptr_t size)
{
    Events().push_back(std::string(name) + ":" + std::to_string(size));
}

// Frees a block whose datum is its size.
inline void CountingFree(u8* block, void* data)
{
    Log("free", reinterpret_cast<std::uintptr_t>(data));
    std::free(block);
}

inline u8* CountingCalloc(i32 size, FreeFunction* outFree, void** outFreeData, void*)
{
    Log("zero", std::uintptr_t(size));
    if (size < 1 || !outFree || !outFreeData)
        return nullptr;
    *outFree = CountingFree;
    *outFreeData = reinterpret_cast<void*>(std::uintptr_t(size));
    return static_cast<u8*>(std::calloc(std::size_t(size), 1));
}

// A layer over a caller's zeroed buffer whose free is logged with its size.
inline Marrow::StubLayer* CountedLayer(i32 width, i32 height)
{
    const std::size_t size = std::size_t(width) * std::size_t(height) * 4;
    return CreateCompatibleLayer(static_cast<u8*>(std::calloc(size, 1)), width, height, width * 4,
                                 CountingFree, reinterpret_cast<void*>(size));
}

// Logs "<tag><datum>{x,y,w,h}"; refuses when the datum is "no". Each tag is a
// distinct function, so (LogUpdate<0>, d) and (LogUpdate<1>, d) are different pairs.
template <int kTag> bool LogUpdate(Marrow::StubLayer*, const LayerRegion* r, void* data)
{
    const std::string name = static_cast<const char*>(data);
    Events().push_back((kTag ? "g" : "") + name + "{" + std::to_string(r->x) + "," +
                       std::to_string(r->y) + "," + std::to_string(r->width) + "," +
                       std::to_string(r->height) + "}");
    return name != "no";
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
