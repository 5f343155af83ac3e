#include "benchmarks/Works.h"

#include <algorithm>
#include <numeric>
#include <random>
#include <stdexcept>

namespace {

Sample ListRepeatedly(const Job& job, const Contender& contender, std::size_t repeats) {
    return Measure([&] {
        std::size_t bytes = 0;
        for (std::size_t i = 0; i < repeats; ++i) {
            const auto store = contender.make();
            store->Open(job.path, Store::Mode::Read);
            store->List([&](const char* name) { bytes += std::string_view(name).size(); });
            store->Close();
        }
        if (bytes == 0) {
            throw std::runtime_error("nothing was listed");
        }
    });
}

void ReadAtEach(Store::Reader& reader, const std::uint64_t* first, const std::uint64_t* last) {
    alignas(kPage) char piece[kRandomRead];
    std::for_each(first, last,
                  [&](std::uint64_t offset) { reader.ReadAt(offset, piece, sizeof piece); });
}

} // namespace

std::vector<std::uint64_t> RandomOffsets(const Sizes& sizes) {
    std::mt19937_64 random(2);
    std::uniform_int_distribution<std::uint64_t> anywhere(0, sizes.largeStream - kRandomRead);
    std::vector<std::uint64_t> offsets(sizes.coldReads + sizes.warmReads);
    std::generate(offsets.begin(), offsets.end(), [&] { return anywhere(random); });
    return offsets;
}

std::vector<std::size_t> Shuffled(std::size_t count) {
    std::vector<std::size_t> order(count);
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::shuffle(order.begin(), order.end(), std::mt19937_64(3));
    return order;
}

std::vector<std::string> ShuffledNames(std::size_t count) {
    std::vector<std::string> names;
    for (const std::size_t stream : Shuffled(count)) {
        names.push_back(StreamName(stream));
    }
    return names;
}

Sample Works::CreateLarge(const Job& job, const Contender& contender) {
    return Measure([&] {
        const auto store = contender.make();
        store->Open(job.path, Store::Mode::Create);
        WriteStream(*store, 0, job.sizes.largeStream);
        store->Close();
    });
}

Sample Works::ReadLarge(const Job& job, const Contender& contender) {
    return Measure([&] {
        const auto store = contender.make();
        store->Open(job.path, Store::Mode::Read);
        ReadStream(*store, 0, job.sizes.largeStream);
        store->Close();
    });
}

Sample Works::ReadRandomCold(const Job& job, const Contender& contender) {
    const auto offsets = RandomOffsets(job.sizes);
    return Measure([&] {
        const auto store = contender.make();
        store->Open(job.path, Store::Mode::Read);
        const auto reader = store->Find(StreamName(0));
        ReadAtEach(*reader, offsets.data(), offsets.data() + job.sizes.coldReads);
    });
}

Sample Works::ReadRandomKnown(const Job& job, const Contender& contender) {
    const auto offsets = RandomOffsets(job.sizes);
    const auto store = contender.make();
    store->Open(job.path, Store::Mode::Read);
    const auto reader = store->Find(StreamName(0));
    const std::uint64_t* const known = offsets.data() + job.sizes.coldReads;
    ReadAtEach(*reader, offsets.data(), known);
    return Measure([&] { ReadAtEach(*reader, known, offsets.data() + offsets.size()); });
}

Sample Works::CreateSmall(const Job& job, const Contender& contender) {
    return Measure([&] {
        const auto store = contender.make();
        store->Open(job.path, Store::Mode::Create);
        for (std::size_t stream = 0; stream < job.sizes.smallStreams; ++stream) {
            WriteStream(*store, stream, kSmallStream);
        }
        store->Close();
    });
}

Sample Works::ReadSmall(const Job& job, const Contender& contender) {
    const auto names = ShuffledNames(job.sizes.smallStreams);
    return Measure([&] {
        const auto store = contender.make();
        store->Open(job.path, Store::Mode::Read);
        std::size_t listed = 0;
        store->List([&](const char*) { ++listed; });
        if (listed < names.size()) {
            throw std::runtime_error("not every stream was listed");
        }
        alignas(kPage) char bytes[kSmallStream];
        for (const std::string& name : names) {
            store->Find(name)->Read(bytes, sizeof bytes);
        }
        store->Close();
    });
}

Sample Works::ReplaceOne(const Job& job, const Contender& contender) {
    return Measure([&] {
        const auto store = contender.make();
        store->Open(job.path, Store::Mode::Change);
        WriteStream(*store, job.sizes.mediumStreams / 2, job.sizes.mediumStream);
        store->Close();
    });
}

Sample Works::ListLarge(const Job& job, const Contender& contender) {
    return ListRepeatedly(job, contender, job.sizes.repeats);
}

Sample Works::ListSmall(const Job& job, const Contender& contender) {
    return ListRepeatedly(job, contender, 1);
}
