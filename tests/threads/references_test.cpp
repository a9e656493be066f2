// Reference counts under contention: threads share layers, take and release
// references and accesses, and initialise the library all at once.
#include <atomic>
#include <cstdlib>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "petal.h"
#include "seed.h"

namespace {

std::atomic<int> gPixelFrees{0};

void CountingFree(u8* block, void*)
{
    gPixelFrees.fetch_add(1);
    std::free(block);
}

Marrow::StubLayer* CountedLayer(i32 width, i32 height)
{
    u8* pixels = static_cast<u8*>(std::calloc(std::size_t(width) * std::size_t(height), 4));
    return CreateCompatibleLayer(pixels, width, height, width * 4, CountingFree, nullptr);
}

TEST(Threads, ConcurrentReferencesAndInitLeaveExactCounts)
{
    constexpr int kLayers = 4, kThreads = 8, kRounds = 2000;
    std::vector<Marrow::StubLayer*> layers;
    for (int i = 0; i < kLayers; ++i)
        layers.push_back(CountedLayer(8, 8));
    std::vector<Marrow::StubLayer*> clipped;
    for (Marrow::StubLayer* layer : layers)
        clipped.push_back(CreateClippedLayer(layer));

    std::atomic<bool> go{false};
    std::vector<int> inits(kThreads);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            while (!go.load()) {
            }
            bool init = FlowerInit();
            for (int round = 0; round < kRounds; ++round) {
                Marrow::StubLayer* layer = layers[std::size_t((t + round) % kLayers)];
                EXPECT_EQ(AddRefCountLayer(layer), layer);
                LayerAccess access = {};
                EXPECT_TRUE(BeginAccessLayer(&access, clipped[std::size_t(round % kLayers)]));
                Marrow::StubLayer* view = CreateClippedLayer(layer);
                DeleteLayer(layer);
                EXPECT_TRUE(EndAccessLayer(&access));
                DeleteLayer(view);
                if (round % 500 == 0)
                    init = FlowerInit() && init;
            }
            inits[std::size_t(t)] = init ? 1 : 0;
        });
    }
    go.store(true);
    for (std::thread& thread : threads)
        thread.join();
    for (int t = 1; t < kThreads; ++t)
        EXPECT_EQ(inits[std::size_t(t)], inits[0]);

    // Each layer is held by its creator and its clipped view, and nothing else.
    for (Marrow::StubLayer* layer : layers)
        DeleteLayer(layer);
    EXPECT_EQ(gPixelFrees.load(), 0);
    for (int i = 0; i < kLayers; ++i) {
        DeleteLayer(clipped[std::size_t(i)]);
        EXPECT_EQ(gPixelFrees.load(), i + 1);
    }
}

} // namespace
