#pragma once

#include "benchmarks/EntryWorks.h"
#include "benchmarks/Rows.h"

#include <algorithm>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

/// The work of each row, as any store does it.
namespace Works {

Sample CreateLarge(const Job& job, const Contender& contender);
Sample ReadLarge(const Job& job, const Contender& contender);
Sample ReadRandomCold(const Job& job, const Contender& contender);
Sample ReadRandomKnown(const Job& job, const Contender& contender);
Sample CreateSmall(const Job& job, const Contender& contender);
Sample ReadSmall(const Job& job, const Contender& contender);
Sample ReplaceOne(const Job& job, const Contender& contender);
Sample ListLarge(const Job& job, const Contender& contender);
Sample ListSmall(const Job& job, const Contender& contender);

} // namespace Works

/// Work that only this library does.
namespace OwnWorks {

Sample CreateEncrypted(const Job& job, const Contender& contender);
Sample ReadEncrypted(const Job& job, const Contender& contender);
Sample ChangeThroughWorkspace(const Job& job, const Contender& contender);
Sample Compact(const Job& job, const Contender& contender);
Sample SaveAs(const Job& job, const Contender& contender);

} // namespace OwnWorks

/// The counterparts.
namespace Counterparts {

Sample WriteLarge(const Job& job);
Sample ReadLarge(const Job& job);
Sample ReadRandomCold(const Job& job);
Sample ReadRandomKnown(const Job& job);
Sample WriteSmall(const Job& job);
Sample ReadSmall(const Job& job);
Sample ReadWholeFile(const Job& job);
Sample ReadDirectoryOfLarge(const Job& job);
Sample ReadDirectoryOfSmall(const Job& job);
Sample Encipher(const Job& job);
Sample Decipher(const Job& job);
Sample CopyTwoStreamsAndReplaceOne(const Job& job);
Sample CopyFile(const Job& job);

} // namespace Counterparts

/// What no implementation of the format can do without.
namespace Floors {

Sample WriteSmall(const Job& job);
Sample ReadHeads(const Job& job);
Sample ReadHeadsAndRandomly(const Job& job);
Sample OpenAndReadDirectory(const Job& job);
Sample ListDirectory(const Job& job);
Sample ReadBlocks(const EntryWorks& works);
Sample RewriteBlocks(const EntryWorks& works);
Sample MarkBlocks(const EntryWorks& works);
Sample ListDirectories(const EntryWorks& works);

} // namespace Floors

/// `work` on the entries of one file with many.
template <auto work>
Sample OnManyEntries(const Job& job) {
    return std::invoke(work, EntryWorks{job.path, job.sizes.manyEntries});
}
template <auto work>
Sample OnManyEntries(const Job& job, const Contender&) {
    return OnManyEntries<work>(job);
}

/// `work` on as many entries, in files with few.
template <auto work>
Sample OnFewEntries(const Job& job) {
    Sample sum;
    for (std::size_t done = 0; done < job.sizes.manyEntries; done += job.sizes.fewEntries) {
        const Sample one = std::invoke(work, EntryWorks{job.path, job.sizes.fewEntries});
        sum.seconds += one.seconds;
        sum.bytesWritten += one.bytesWritten;
        sum.peakMemory = std::max(sum.peakMemory, one.peakMemory);
    }
    return sum;
}

/// Offsets of random reads within the large stream, the same in every run: the cold ones first,
/// then those that find the stream's chain known.
std::vector<std::uint64_t> RandomOffsets(const Sizes& sizes);
/// The numbers 0 to `count` - 1 in an order that is random, but the same in every run.
std::vector<std::size_t> Shuffled(std::size_t count);
/// The names of as many streams in that order. They lie in memory as they are asked for: waiting
/// for them is not a store's time.
std::vector<std::string> ShuffledNames(std::size_t count);
