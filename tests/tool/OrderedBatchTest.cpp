// The tool's batch runner on its own: answers in input order whatever order they finish in, a
// bounded window of items read ahead, and failures in their place.

#include "OrderedBatch.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <mutex>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

using tarv::tool::OrderedBatch;
using Batch = OrderedBatch<int, std::string>;

/// Gives 0, 1, ... up to `count` - 1, counting how far reading is ahead of delivery.
struct Counter {
    int count = 0;
    int next = 0;
    std::atomic<int> delivered{0};
    int mostAhead = 0;

    std::optional<int> read() {
        if (next == count) {
            return std::nullopt;
        }
        mostAhead = std::max(mostAhead, next - delivered.load());
        return next++;
    }
};

/// Later items finish first: item i waits longer the smaller i is within each group of eight.
std::string slowAnswer(int item) {
    std::this_thread::sleep_for(std::chrono::microseconds(200 * (7 - item % 8)));
    return std::to_string(item);
}

TEST(OrderedBatch, DeliversInInputOrderOnAnyNumberOfThreads) {
    for (const std::size_t jobs : {1u, 2u, 4u, 7u}) {
        Counter counter;
        counter.count = 200;
        std::vector<std::string> delivered;
        std::set<std::size_t> threads;
        std::mutex threadsMutex;
        Batch::run(
            jobs, [&] { return counter.read(); },
            [&](const int& item, std::size_t thread) {
                {
                    std::lock_guard<std::mutex> lock(threadsMutex);
                    threads.insert(thread);
                }
                return slowAnswer(item);
            },
            [&](std::string&& answer) {
                delivered.push_back(std::move(answer));
                ++counter.delivered;
            });
        ASSERT_EQ(delivered.size(), 200u) << jobs;
        for (int i = 0; i < 200; ++i) {
            EXPECT_EQ(delivered[static_cast<std::size_t>(i)], std::to_string(i)) << jobs;
        }
        EXPECT_LE(threads.size(), jobs);
        EXPECT_LT(*threads.rbegin(), jobs);
        // Reading runs at most a window of a few items per job ahead of delivery.
        EXPECT_LE(counter.mostAhead, static_cast<int>(jobs * 4) + 1) << jobs;
    }
}

TEST(OrderedBatch, AFailureComesInItsPlaceAfterEveryEarlierAnswer) {
    for (const std::size_t jobs : {1u, 4u}) {
        Counter counter;
        counter.count = 100;
        std::vector<std::string> delivered;
        const auto run = [&] {
            Batch::run(
                jobs, [&] { return counter.read(); },
                [](const int& item, std::size_t) {
                    if (item == 37) {
                        throw std::runtime_error("item 37");
                    }
                    return slowAnswer(item);
                },
                [&](std::string&& answer) { delivered.push_back(std::move(answer)); });
        };
        EXPECT_THROW(run(), std::runtime_error) << jobs;
        ASSERT_EQ(delivered.size(), 37u) << jobs;
        EXPECT_EQ(delivered.back(), "36");
    }
}

TEST(OrderedBatch, AFailureWhileDeliveringStopsTheWork) {
    Counter counter;
    counter.count = 10000;
    std::atomic<int> answered{0};
    const auto run = [&] {
        Batch::run(
            4, [&] { return counter.read(); },
            [&](const int& item, std::size_t) {
                ++answered;
                return std::to_string(item);
            },
            [](std::string&& answer) {
                if (answer == "5") {
                    throw std::runtime_error("cannot write");
                }
            });
    };
    EXPECT_THROW(run(), std::runtime_error);
    EXPECT_LT(answered.load(), 100);
}

TEST(OrderedBatch, AnEmptyListDeliversNothing) {
    for (const std::size_t jobs : {1u, 4u}) {
        int delivered = 0;
        Batch::run(
            jobs, [] { return std::optional<int>(); },
            [](const int& item, std::size_t) { return std::to_string(item); },
            [&](std::string&&) { ++delivered; });
        EXPECT_EQ(delivered, 0);
    }
}

} // namespace
