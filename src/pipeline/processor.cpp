#include <ko/pipeline/processor.h>

#include "pipeline/item_core.h"

namespace ko {

namespace {

IxDataInfo* copyOf(std::mutex& mutex, const std::unique_ptr<IxDataInfo>& info)
{
    const std::lock_guard lock(mutex);
    return info ? info->clone() : nullptr;
}

}  // namespace

IxDataProcessor::IxDataProcessor(ExFlags flags, QObject* parent) : IxPipeItem(flags, parent) {}

IxDataProcessor::~IxDataProcessor()
{
    m_core->warnUnlessRetired(*this);
    retire();
}

bool IxDataProcessor::queryOutputDataInfo(const IxDataInfo* input, IxDataInfo*& output,
                                          const CxMetadata* inputMetadata, CxMetadata* outputMetadata)
{
    IxDataInfo* const same = input != nullptr ? input->clone() : nullptr;
    if (same == nullptr)
        return false;
    output = same;
    if (inputMetadata != nullptr && outputMetadata != nullptr)
        *outputMetadata = *inputMetadata;
    return true;
}

IxDataInfo* IxDataProcessor::currentOutputDataInfo() const
{
    return copyOf(m_core->infoMutex, m_core->outputInfo);
}

IxDataInfo* IxDataProcessor::currentInputDataInfo() const
{
    return copyOf(m_core->infoMutex, m_core->inputInfo);
}

bool IxDataProcessor::acceptAsSuccessor(IxPipeItem* successor)
{
    if (successor == nullptr || flags().testFlag(FlagNoOutput))
        return false;
    const std::unique_ptr<IxDataInfo> made(currentOutputDataInfo());
    return !made || successor->acceptsData(made.get());
}

bool IxDataProcessor::acceptAsPrecedessor(IxPipeItem* precedessor)
{
    return precedessor != nullptr && !flags().testFlag(FlagNoInput);
}

bool IxDataProcessor::processData(IxData* input, IxData*& output)
{
    output = input;
    return true;
}

}  // namespace ko
