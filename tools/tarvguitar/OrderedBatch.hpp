#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <exception>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

namespace tarv::tool {

/// Answers a list of items on several threads and hands the answers on in the order of the
/// items, each as soon as it and every answer before it are ready.
///
/// `next` gives the items one after the other (none at the end); with more than one job it runs
/// on a thread of its own, so that it may wait for input while answers are handed on. `answer`
/// runs on up to `jobs` threads at once and is told which of them (0 to jobs - 1) it runs on, so
/// that each may keep state of its own. `deliver` runs on the calling thread, in input order. At
/// most a window of items (a few per job) is read ahead of the first answer not yet delivered,
/// so a long list is never held whole. With one job everything runs on the calling thread, one
/// item at a time.
///
/// An exception from `answer` is rethrown by `run` in the place of that item's answer, after
/// every earlier answer has been delivered; one from `deliver` stops the work and is rethrown.
template <typename Item, typename Answer> class OrderedBatch {
public:
    using Next = std::function<std::optional<Item>()>;
    using Work = std::function<Answer(const Item&, std::size_t)>;
    using Deliver = std::function<void(Answer&&)>;

    static void run(std::size_t jobs, const Next& next, const Work& answer,
                    const Deliver& deliver) {
        if (jobs <= 1) {
            while (std::optional<Item> item = next()) {
                deliver(answer(*item, 0));
            }
            return;
        }
        OrderedBatch batch(jobs, next, answer);
        batch.deliverAll(deliver);
    }

private:
    struct Slot {
        Item item;
        std::optional<Answer> answer;
        std::exception_ptr error;
        bool done = false;
    };

    static constexpr std::size_t kWindowPerJob = 4;

    OrderedBatch(std::size_t jobs, const Next& next, const Work& answer)
        : _jobs(jobs), _capacity(jobs * kWindowPerJob), _next(next), _answer(answer) {
        _reader = std::thread([this] { read(); });
    }

    OrderedBatch(const OrderedBatch&) = delete;
    OrderedBatch& operator=(const OrderedBatch&) = delete;

    ~OrderedBatch() {
        {
            std::lock_guard<std::mutex> lock(_mutex);
            _stopping = true;
        }
        _room.notify_all();
        _work.notify_all();
        // The reader starts the workers, so it is joined first; it stops after the item it is
        // reading.
        _reader.join();
        for (std::thread& worker : _workers) {
            worker.join();
        }
    }

    /// The reader thread: fills the window and starts a worker for each of the first items,
    /// up to the number of jobs.
    void read() {
        std::exception_ptr error;
        for (;;) {
            std::optional<Item> item;
            try {
                item = _next();
            } catch (...) {
                error = std::current_exception();
            }
            std::unique_lock<std::mutex> lock(_mutex);
            if (!item || _stopping) {
                _readError = error;
                _inputEnded = true;
                break;
            }
            _room.wait(lock, [this] { return _stopping || _window.size() < _capacity; });
            if (_stopping) {
                _inputEnded = true;
                break;
            }
            _window.push_back(Slot{std::move(*item), std::nullopt, nullptr, false});
            ++_readCount;
            const bool startWorker = _workers.size() < _jobs;
            lock.unlock();
            if (startWorker && !startWorkerThread()) {
                break;
            }
            _work.notify_one();
        }
        _work.notify_all();
        _ready.notify_all();
    }

    /// Starts one more worker; when no thread can be started and none runs, the batch fails
    /// with the reason.
    bool startWorkerThread() {
        try {
            const std::size_t index = _workers.size();
            _workers.emplace_back([this, index] { work(index); });
            return true;
        } catch (...) {
            if (!_workers.empty()) {
                return true;
            }
            std::lock_guard<std::mutex> lock(_mutex);
            _readError = std::current_exception();
            _inputEnded = true;
            _failed = true;
            return false;
        }
    }

    void work(std::size_t index) {
        std::unique_lock<std::mutex> lock(_mutex);
        for (;;) {
            _work.wait(lock,
                       [this] { return _stopping || _startedCount < _readCount || _inputEnded; });
            if (_stopping || _startedCount == _readCount) {
                return;
            }
            Slot& slot = _window[_startedCount - _deliveredCount];
            ++_startedCount;
            lock.unlock();
            std::optional<Answer> answer;
            std::exception_ptr error;
            try {
                answer.emplace(_answer(slot.item, index));
            } catch (...) {
                error = std::current_exception();
            }
            lock.lock();
            slot.answer = std::move(answer);
            slot.error = error;
            slot.done = true;
            if (&slot == &_window.front()) {
                _ready.notify_one();
            }
        }
    }

    void deliverAll(const Deliver& deliver) {
        for (;;) {
            std::unique_lock<std::mutex> lock(_mutex);
            _ready.wait(lock, [this] {
                return _failed || (!_window.empty() && _window.front().done) ||
                       (_window.empty() && _inputEnded);
            });
            if (_failed || _window.empty()) {
                if (_readError) {
                    std::rethrow_exception(_readError);
                }
                return;
            }
            Slot slot = std::move(_window.front());
            _window.pop_front();
            ++_deliveredCount;
            lock.unlock();
            _room.notify_one();
            if (slot.error) {
                std::rethrow_exception(slot.error);
            }
            deliver(std::move(*slot.answer));
        }
    }

    const std::size_t _jobs;
    const std::size_t _capacity;
    const Next& _next;
    const Work& _answer;

    std::mutex _mutex;
    /// Wakes the reader when the window has room.
    std::condition_variable _room;
    /// Wakes the workers when an item is read or the input ends.
    std::condition_variable _work;
    /// Wakes the delivering thread when the first answer is done or the input ends.
    std::condition_variable _ready;
    /// The items read and not yet delivered, in input order; references stay valid while other
    /// items are added at the back or taken from the front.
    std::deque<Slot> _window;
    std::size_t _readCount = 0;
    std::size_t _startedCount = 0;
    std::size_t _deliveredCount = 0;
    bool _inputEnded = false;
    bool _stopping = false;
    /// No worker could be started: nothing read will be answered.
    bool _failed = false;
    std::exception_ptr _readError;

    std::thread _reader;
    /// Started and joined by the reader's side only: the reader adds to it, the destructor
    /// joins them after the reader.
    std::vector<std::thread> _workers;
};

} // namespace tarv::tool
