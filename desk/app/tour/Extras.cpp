#include "Demo.h"
#include "Tour.h"

#include "DeskExtras.h"
#include "DeskVersion.h"

#include <cstring>
#include <memory>

namespace {

class Extras final : public DeskExtras
{
public:
    int runTour(const DeskOptions& options) override { return Tour::run(options); }

    bool prepareDemo(DeskOptions& options, QString& error) override
    {
        m_demo = std::make_unique<Demo>(options.demo);
        return m_demo->prepare(options, error);
    }

    void followDemo(DeskWindow& window) override { m_demo->follow(window); }

private:
    std::unique_ptr<Demo> m_demo;
};

} // namespace

extern "C" Q_DECL_EXPORT DeskExtras* krxDeskExtras(const char* version)
{
    static Extras extras;
    return std::strcmp(version, KRX_DESK_VERSION) == 0 ? &extras : nullptr;
}
