// The Python module koimproc.native: every export of the libraries by its own name.
#include "enumerations.h"
#include "rooms.h"

#include <ko/koimproc.h>

namespace ko::python {

void defineEnumerations(py::module_& module)
{
    defineEnumeration<ResultCode>(module, "ResultCode",
                                  {{"ResultOk", ResultOk},
                                   {"ResultFailed", ResultFailed},
                                   {"ResultIncompatible", ResultIncompatible},
                                   {"ResultOutOfRange", ResultOutOfRange},
                                   {"ResultUnsupportedType", ResultUnsupportedType},
                                   {"ResultBadArg1", ResultBadArg1},
                                   {"ResultBadArg2", ResultBadArg2},
                                   {"ResultBadArg3", ResultBadArg3},
                                   {"ResultBadArg4", ResultBadArg4},
                                   {"ResultBadArg5", ResultBadArg5},
                                   {"ResultBadArg6", ResultBadArg6},
                                   {"ResultBadArg7", ResultBadArg7}});
    defineEnumeration<ExImageDataType>(module, "ExImageDataType",
                                       {{"Int8", Int8},
                                        {"UInt8", UInt8},
                                        {"Int16", Int16},
                                        {"UInt16", UInt16},
                                        {"Int32", Int32},
                                        {"UInt32", UInt32},
                                        {"Float32", Float32},
                                        {"Float64", Float64},
                                        {"Sample128", Sample128},
                                        {"Int64", Int64},
                                        {"UInt64", UInt64}});
    defineEnumeration<ExPixelPacking>(module, "ExPixelPacking",
                                      {{"Interleaved", Interleaved}, {"Planar", Planar}});
    defineEnumeration<ExBayerGrid>(module, "ExBayerGrid",
                                   {{"BayerBGGR", BayerBGGR},
                                    {"BayerRGGB", BayerRGGB},
                                    {"BayerGBRG", BayerGBRG},
                                    {"BayerGRBG", BayerGRBG},
                                    {"BayerNone", BayerNone}});
    defineEnumeration<ExPixelCompression>(module, "ExPixelCompression",
                                          {{"CompressionNone", CompressionNone}});
    defineEnumeration<ExPackedLayout>(module, "ExPackedLayout",
                                      {{"Mono10p", Mono10p},
                                       {"Mono12p", Mono12p},
                                       {"Mono14p", Mono14p},
                                       {"Mono10Packed", Mono10Packed},
                                       {"Mono12Packed", Mono12Packed},
                                       {"Csi2Raw10", Csi2Raw10},
                                       {"Csi2Raw12", Csi2Raw12},
                                       {"Csi2Raw14", Csi2Raw14},
                                       {"Mono16BigEndian", Mono16BigEndian},
                                       {"Mono16MsbAligned", Mono16MsbAligned}});
    defineEnumeration<NormalizationType>(
        module, "NormalizationType",
        {{"NormalizeSeparate", NormalizeSeparate}, {"NormalizeJoint", NormalizeJoint}});
    defineEnumeration<Interpolation>(
        module, "Interpolation",
        {{"InterpolationNearest", InterpolationNearest}, {"InterpolationLinear", InterpolationLinear}});
    defineEnumeration<ExChamferMask>(module, "ExChamferMask",
                                     {{"ChamferChessboard", ChamferChessboard},
                                      {"Chamfer3x3", Chamfer3x3},
                                      {"Chamfer5x5", Chamfer5x5},
                                      {"Chamfer7x7", Chamfer7x7},
                                      {"Chamfer13x13", Chamfer13x13}});
    defineEnumeration<ExQueuePolicy>(module, "ExQueuePolicy",
                                     {{"QueueBlocks", QueueBlocks}, {"QueueDropsOldest", QueueDropsOldest}});
}

}  // namespace ko::python

PYBIND11_MODULE(native, module)
{
    using namespace ko::python;
    module.doc() = "Every export of the two libraries by its own name; native.pyi says how.";
    module.attr("__version__") = KO_VERSION;
    defineEnumerations(module);
    defineImages(module);
    defineContainers(module);
    defineThreads(module);
    defineMemory(module);
    defineCore(module);
    defineRaw(module);
    defineDemosaic(module);
    defineMasks(module);
    defineHistograms(module);
    defineStats(module);
    defineAccumulators(module);
    defineTone(module);
    definePixel(module);
    defineConvert(module);
    defineFilters(module);
    defineMedian(module);
    defineSnake(module);
    defineFrames(module);
    definePipeline(module);
}
