#include "fuzz/support/run.h"

#include "support/allocation_failure.h"
#include "support/every_loop_shared.h"

#include <ko/threads.h>

#include <QtGlobal>
#include <hwy/targets.h>
#include <omp.h>

#include <cstdio>
#include <vector>

namespace ko::fuzz {

namespace {

void useTargets(std::int64_t targets)
{
    hwy::SetSupportedTargetsForTest(targets);
    hwy::GetChosenTarget().Update(targets);
}

/// The kernel builds that this processor can execute. Asked once: a virtual machine answers slowly.
const std::vector<std::int64_t>& executableTargets()
{
    static const std::vector<std::int64_t> targets = hwy::SupportedAndGeneratedTargets();
    return targets;
}

/// Calls go by the thousand here: neither teams of threads nor messages for each of them.
void prepareOnce()
{
    static const bool isPrepared = [] {
        omp_set_num_threads(1);
        qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
        return true;
    }();
    (void)isPrepared;
}

/// FNV-1a, folded to 16 bits.
std::uint16_t idOf(const char* name)
{
    std::uint32_t hash = 2166136261;
    for (; *name != 0; ++name)
        hash = (hash ^ static_cast<unsigned char>(*name)) * 16777619;
    return static_cast<std::uint16_t>(hash >> 16 ^ hash);
}

/// One input under changing conditions.
class Trial {
public:
    Trial(const Case& chosen, ByteReader in, int grants) : m_case(chosen), m_in(in), m_grants(grants) {}

    void under(const char* condition)
    {
        Outcome outcome(m_isFirst && m_grants < 0);
        {
            const test::AllocationFailure shortage(m_grants);
            ByteReader in = m_in;
            m_case.call(in, outcome);
        }
        if (m_isFirst)
            m_first = outcome;
        m_isFirst = false;
        if (outcome == m_first)
            return;
        std::fprintf(stderr, "fuzz: %s: %s ", m_case.name, condition);
        fail("gives another result than the first kernel build");
    }

private:
    const Case& m_case;
    ByteReader m_in;
    int m_grants;
    bool m_isFirst = true;
    Outcome m_first{false};
};

}  // namespace

CaseTable::CaseTable(std::initializer_list<Cases> families)
{
    for (const Cases& family : families)
        for (const Case& added : family) {
            const auto [place, isNew] = m_cases.emplace(idOf(added.name), added);
            require(isNew, added.name);
        }
}

const Case& CaseTable::at(std::uint16_t id) const
{
    const auto next = m_cases.lower_bound(id);
    return next != m_cases.end() ? next->second : m_cases.begin()->second;
}

void run(const CaseTable& cases, const std::uint8_t* data, std::size_t size)
{
    prepareOnce();
    ByteReader in(data, size);
    const Case& chosen = cases.at(in.raw<std::uint16_t>());
    const bool severalThreads = in.oneIn(16);
    const int grants = in.oneIn(16) ? in.below(6) : -1;
    Trial trial(chosen, in, grants);
    std::int64_t every = 0;
    for (const std::int64_t target : executableTargets()) {
        useTargets(target);
        trial.under(hwy::TargetName(target));
        every |= target;
    }
    useTargets(every);
    if (severalThreads) {
        const CallThreads consent(3);
        const test::EveryLoopShared everyLoopShared;
        omp_set_num_threads(3);
        trial.under("three threads");
        omp_set_num_threads(1);
    }
}

void runOnce(const CaseTable& cases, const std::uint8_t* data, std::size_t size)
{
    prepareOnce();
    ByteReader in(data, size);
    Outcome ignored(true);
    cases.at(in.raw<std::uint16_t>()).call(in, ignored);
}

}  // namespace ko::fuzz
