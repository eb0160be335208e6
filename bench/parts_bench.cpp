#include <orvane/model_file_cipher.h>

#include "backends/openvino/cache_keystream.h"
#include "ipc/call_protocol.h"
#include "platform/copy_data.h"
#include "platform/event.h"

#include <benchmark/benchmark.h>

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

namespace {

using Orvane::Platform::Event;

constexpr size_t kPiece = 4096;  // the streams of a cache file process pieces of this size
constexpr size_t kFile = size_t{64} << 20;

void SetBytes(benchmark::State& state, size_t bytes) {
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(bytes));
}

// All pieces of a cache file, one after another in the same buffer, as the streams of the cache file see them.
void KeystreamInPieces(benchmark::State& state) {
    std::vector<uint8_t> piece(kPiece);
    while (state.KeepRunning()) {
        for (size_t position = 0; position < kFile; position += kPiece) {
            Orvane::ApplyCacheKeystream(position, piece.data(), kPiece);
            benchmark::ClobberMemory();
        }
    }
    SetBytes(state, kFile);
}
BENCHMARK(KeystreamInPieces)->Unit(benchmark::kMillisecond);

void MemcpyInPieces(benchmark::State& state) {
    const std::vector<uint8_t> from(kPiece);
    std::vector<uint8_t> to(kPiece);
    while (state.KeepRunning()) {
        for (size_t position = 0; position < kFile; position += kPiece) {
            std::memcpy(to.data(), from.data(), kPiece);
            benchmark::ClobberMemory();
        }
    }
    SetBytes(state, kFile);
}
BENCHMARK(MemcpyInPieces)->Unit(benchmark::kMillisecond);

// The same over 64 MiB, which no processor cache holds.
void KeystreamOverMemory(benchmark::State& state) {
    std::vector<uint8_t> file(kFile);
    while (state.KeepRunning()) {
        for (size_t position = 0; position < kFile; position += kPiece) {
            Orvane::ApplyCacheKeystream(position, file.data() + position, kPiece);
        }
        benchmark::ClobberMemory();
    }
    SetBytes(state, kFile);
}
BENCHMARK(KeystreamOverMemory)->Unit(benchmark::kMillisecond);

void MemcpyOverMemory(benchmark::State& state) {
    const std::vector<uint8_t> from(kFile, 1);
    std::vector<uint8_t> to(kFile);
    while (state.KeepRunning()) {
        for (size_t position = 0; position < kFile; position += kPiece) {
            std::memcpy(to.data() + position, from.data() + position, kPiece);
        }
        benchmark::ClobberMemory();
    }
    SetBytes(state, kFile);
}
BENCHMARK(MemcpyOverMemory)->Unit(benchmark::kMillisecond);

// Copies tensor data with `CopyData` and with `memcpy`. Both take turns in the same memory, because its place decides
// how fast a copy is. The counters are the shortest times in nanoseconds: other programs only make times longer. The
// arguments are the size, and the offsets of both addresses in a 64-byte line.
void CopyTensor(benchmark::State& state) {
    using Clock = std::chrono::steady_clock;
    constexpr size_t kPage = 4096;
    constexpr size_t kTimed = size_t{1} << 20;  // bytes, which take much longer than reading the clock
    const auto size = static_cast<size_t>(state.range(0));
    std::vector<uint8_t> from(size + 2 * kPage, 1);
    std::vector<uint8_t> to(size + 2 * kPage, 2);
    const auto at = [](std::vector<uint8_t>& memory, int64_t offset) {
        const size_t toPage = kPage - reinterpret_cast<uintptr_t>(memory.data()) % kPage;
        return memory.data() + toPage + offset;
    };
    uint8_t* const target = at(to, state.range(1));
    const uint8_t* const source = at(from, state.range(2));
    const size_t copies = std::max<size_t>(kTimed / size, 1);
    const auto time = [=](auto copy, double& shortest) {
        const auto start = Clock::now();
        for (size_t i = 0; i < copies; ++i) {
            copy(target, source, size);
            benchmark::ClobberMemory();
        }
        const std::chrono::duration<double, std::nano> all = Clock::now() - start;
        shortest = std::min(shortest, all.count() / static_cast<double>(copies));
    };
    double ours = 1e18;
    double theirs = 1e18;
    while (state.KeepRunning()) {
        time(Orvane::Platform::CopyData, ours);
        time([](void* copy, const void* data, size_t bytes) { std::memcpy(copy, data, bytes); }, theirs);
    }
    state.counters["CopyData"] = ours;
    state.counters["memcpy"] = theirs;
}

// Offset 20 is that of message data, whose addresses are odd multiples of 4.
void CopySizes(benchmark::internal::Benchmark* benchmark) {
    for (const int64_t size : {1 << 10, 4 << 10, 16 << 10, 64 << 10, 256 << 10, 588 << 10, 4 << 20, 20 << 20}) {
        for (const auto& [to, from] : {std::pair(0, 0), {20, 0}, {0, 20}, {1, 0}, {33, 17}, {63, 63}}) {
            benchmark->Args({size, to, from});
        }
    }
}
BENCHMARK(CopyTensor)->Apply(CopySizes)->Iterations(100);

void Decipher(benchmark::State& state) {
    const Orvane::ModelFileCipher cipher{.key = {'k', 'e', 'y', '!'}};
    std::vector<uint8_t> chunk(Orvane::ModelFileCipher::kChunkSize);
    for (size_t i = 0; i < chunk.size(); ++i) {
        chunk[i] = static_cast<uint8_t>(i * i >> 8);
    }
    while (state.KeepRunning()) {
        cipher.Decrypt(chunk.data(), Orvane::ModelFileCipher::kChunkSize);
        benchmark::ClobberMemory();
    }
    SetBytes(state, chunk.size());
}
BENCHMARK(Decipher)->Unit(benchmark::kMillisecond);

// The messages of an exchange without data, of both sides.
void EncodeInvoke(benchmark::State& state) {
    std::vector<uint8_t> memory(1024);
    Orvane::MessageBuffer message;
    message.Attach(memory.data(), static_cast<uint32_t>(memory.size()));
    while (state.KeepRunning()) {
        Orvane::WriteRequest(message, Orvane::CallInvoke);
        message.Rewind();
        benchmark::DoNotOptimize(message.ReadUInt32());
        message.Rewind();
        message.WriteStatus(Orvane::Status());
        message.Rewind();
        benchmark::DoNotOptimize(message.ReadStatus());
    }
}
BENCHMARK(EncodeInvoke);

void SetAndTakeEvent(benchmark::State& state) {
    Event event = Event::Create("BenchEvent" + std::to_string(getpid()));
    while (state.KeepRunning()) {
        event.Set();
        event.Wait(Event::kForever, Orvane::Platform::Awaited::Work);
    }
}
BENCHMARK(SetAndTakeEvent);

// One exchange: to another thread and back.
void HandOver(benchmark::State& state) {
    const std::string name = std::to_string(getpid());
    Event call = Event::Create("BenchCall" + name);
    Event result = Event::Create("BenchResult" + name);
    bool isOver = false;
    std::thread other([&] {
        while (call.Wait(Event::kForever, Orvane::Platform::Awaited::Work), !isOver) {
            result.Set();
        }
    });
    while (state.KeepRunning()) {
        call.Set();
        result.Wait(Event::kForever, Orvane::Platform::Awaited::Result);
    }
    isOver = true;
    call.Set();
    other.join();
}
BENCHMARK(HandOver)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
