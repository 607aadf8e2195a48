// Base of items that make frames of frames.
#pragma once

#include <ko/pipeline/item.h>

namespace ko {

/// Hands every frame on unchanged. Derived classes override `processData`, `queryOutputDataInfo` or both.
class KO_EXPORT IxDataProcessor : public IxPipeItem {
    Q_OBJECT

public:
    /// A stopped item, connected with nothing.
    explicit IxDataProcessor(ExFlags flags = {}, QObject* parent = nullptr);
    ~IxDataProcessor() override;

    /// The same format and metadata unless overridden.
    bool queryOutputDataInfo(const IxDataInfo* input, IxDataInfo*& output, const CxMetadata* inputMetadata,
                             CxMetadata* outputMetadata) override;
    IxDataInfo* currentOutputDataInfo() const override;
    IxDataInfo* currentInputDataInfo() const override;

    /// Not with `FlagNoOutput`; a successor must accept the format of the last frame made, if there was one.
    bool acceptAsSuccessor(IxPipeItem* successor) override;

    /// Not with `FlagNoInput`.
    bool acceptAsPrecedessor(IxPipeItem* precedessor) override;

protected:
    bool processData(IxData* input, IxData*& output) override;
};

}  // namespace ko
