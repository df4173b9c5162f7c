// Benchmarks of ImageLib against OpenCV (single-threaded) and memcpy.
#include "BenchSupport.h"

#include <opencv2/core/utility.hpp>

int main(int argc, char** argv)
{
    cv::setNumThreads(1);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
