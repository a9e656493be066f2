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

TEST(Threads, ConcurrentReferencesAndInitLeaveExactCounts)
{
    constexpr int kLayers = 4, kThreads = 8, kRounds = 2000;
    std::vector<Marrow::StubLayer*> layers, views;
    for (int i = 0; i < kLayers; ++i) {
        layers.push_back(CreateCompatibleLayer(
            static_cast<u8*>(std::calloc(64, 4)), 8, 8, 32,
            [](u8* block, void*) {
                gPixelFrees.fetch_add(1);
                std::free(block);
            },
            nullptr));
        views.push_back(CreateClippedLayer(layers.back()));
    }
    std::atomic<bool> go{false};
    std::atomic<int> inits{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([&, t] {
            while (!go.load()) {
            }
            bool init = FlowerInit();
            for (int round = 0; round < kRounds; ++round) {
                Marrow::StubLayer* layer = layers[size_t((t + round) % kLayers)];
                EXPECT_EQ(AddRefCountLayer(layer), layer);
                LayerAccess access = {};
                EXPECT_TRUE(BeginAccessLayer(&access, views[size_t(round % kLayers)]));
                Marrow::StubLayer* view = CreateClippedLayer(layer);
                DeleteLayer(layer);
                EXPECT_TRUE(EndAccessLayer(&access));
                DeleteLayer(view);
                if (round % 500 == 0)
                    init = FlowerInit() && init;
            }
            inits.fetch_add(init ? 1 : 0);
        });
    go.store(true);
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_TRUE(inits.load() == 0 || inits.load() == kThreads); // every caller sees one outcome

    // Each layer is held by its creator and its clipped view, and nothing else.
    for (Marrow::StubLayer* layer : layers)
        DeleteLayer(layer);
    EXPECT_EQ(gPixelFrees.load(), 0);
    for (int i = 0; i < kLayers; ++i) {
        DeleteLayer(views[size_t(i)]);
        EXPECT_EQ(gPixelFrees.load(), i + 1);
    }
}

} // namespace
