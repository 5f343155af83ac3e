#include "tests/crash/CrashTest.h"

namespace {

TEST_F(Crash, OfAProgramKeepsWhatIsPromised) {
    ForEachScenario([this](const Work& work) {
        const auto survey = [&](const Disk& disk, std::size_t at, const Promises& promises) {
            Leave(disk);
            Complain(at, Survey(crashed_, KrStreamE::ReadOnly, promises, work.Passwords()));
            Complain(at,
                     SurveyAndGoOn(crashed_, points_ % 2 == 0 ? GoOn::Replacing : GoOn::Deleting,
                                   promises, work.Passwords()));
        };
        Disk disk = work.Start();
        for (std::size_t at = 0; at < work.Done().size(); ++at) {
            survey(disk, at, work.PromisedAfter(at, false));
            for (const auto& part : PartsOf(work.Done()[at], kPage)) {
                Disk cut = disk;
                Do(part, cut);
                survey(cut, at, work.PromisedAfter(at, true));
            }
            Do(work.Done()[at], disk);
        }
        survey(disk, work.Done().size(), work.PromisedAfter(work.Done().size(), false));
    });
}

} // namespace
