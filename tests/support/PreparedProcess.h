#pragma once

#include <QProcess>

#include <functional>
#include <utility>

/// A process that does something of ours before it is the program. What is done there runs in a copy of this
/// process that has but one thread, so only what is safe in a signal handler may be called.
class PreparedProcess : public QProcess
{
public:
    PreparedProcess() = default;
    explicit PreparedProcess(std::function<void()> beforeProgram)
    {
        setBeforeProgram(std::move(beforeProgram));
    }

#if QT_VERSION_MAJOR < 6
    void setBeforeProgram(std::function<void()> function)
    {
        m_beforeProgram = std::move(function);
    }

protected:
    void setupChildProcess() override
    {
        if (m_beforeProgram)
            m_beforeProgram();
    }

private:
    std::function<void()> m_beforeProgram;
#else
    void setBeforeProgram(std::function<void()> function)
    {
        setChildProcessModifier(std::move(function));
    }
#endif
};
