#pragma once

// Prints, after the usual table, the slope of each family of benchmarks that sets its complexity
// number: the exponent e of processor time ~ size^e, by least squares over the logarithms. 1 is
// linear; a quadratic step shows as a slope that nears 2. One thread.

#include <benchmark/benchmark.h>

#include <cmath>
#include <map>
#include <string>
#include <vector>

namespace bench {

class SlopeReporter : public benchmark::ConsoleReporter {
public:
    SlopeReporter() : ConsoleReporter(OO_None) {}  // no colours: a script reads the slopes

    void ReportRuns(const std::vector<Run>& runs) override {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs) {
            if (run.run_type == Run::RT_Iteration && !run.error_occurred && run.complexity_n > 0) {
                families[run.run_name.function_name].push_back(
                    {std::log(static_cast<double>(run.complexity_n)),
                     std::log(run.GetAdjustedCPUTime())});
            }
        }
    }

    void Finalize() override {
        for (const auto& [name, points] : families) {
            if (points.size() > 1) {
                GetOutputStream() << "slope of " << name << ": " << slope(points) << '\n';
            }
        }
    }

private:
    struct Point {
        double size;
        double time;
    };

    static double slope(const std::vector<Point>& points) {
        const auto count = static_cast<double>(points.size());
        Point mean{0, 0};
        for (const Point& point : points) {
            mean.size += point.size / count;
            mean.time += point.time / count;
        }
        double together = 0;
        double alone = 0;
        for (const Point& point : points) {
            together += (point.size - mean.size) * (point.time - mean.time);
            alone += (point.size - mean.size) * (point.size - mean.size);
        }
        return together / alone;
    }

    std::map<std::string, std::vector<Point>> families;
};

}  // namespace bench
