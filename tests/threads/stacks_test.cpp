// Every exported operation on a thread with 64 KiB of stack. The workers of its loops have what OMP_STACKSIZE
// says, which the build sets for the test.
#include "support/every_loop_shared.h"
#include "support/small_stack.h"
#include "threads/call.h"

#include <gtest/gtest.h>

#include <QSize>
#include <QThread>

#include <cstdlib>
#include <iostream>

namespace ko::test {
namespace {

class SmallThread : public QThread {
public:
    SmallThread(const Operation& operation, const QSize& size) : m_operation(operation), m_size(size)
    {
        // 4 to 5 KiB of them are gone before a thread does anything: the C library keeps the thread's record
        // and the thread-local data of all libraries there.
        setStackSize(smallStack());
        start();
        wait();
    }

    bool hasDone() const { return m_hasDone; }

private:
    void run() override
    {
        Call call(1, m_size);
        m_operation.run(call);
        m_hasDone = call.allDone();
    }

    const Operation& m_operation;
    QSize m_size;
    bool m_hasDone = false;
};

TEST(SmallStacks, AreEnoughForEveryExport)
{
    ASSERT_STREQ(std::getenv("OMP_STACKSIZE"), "96k");
    const EveryLoopShared everyLoopShared;
    for (const Operation& operation : allOperations()) {
        // An overflow ends the program: the last line tells whose it was.
        std::cout << operation.name << std::endl;
        for (const QSize size : {QSize(20, 18), QSize(300, 200)})
            EXPECT_TRUE(SmallThread(operation, size).hasDone()) << operation.name;
    }
}

}  // namespace
}  // namespace ko::test
