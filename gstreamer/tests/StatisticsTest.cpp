#include "userdata/InsertSchedule.h"
#include "userdata/LatencyStatistics.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <random>

TEST(LatencyStatistics, AgreeWithTheSortedLatencies)
{
    std::mt19937_64 random(1);
    for (const double scale : {5.0, 15.0, 25.0, 40.0}) {
        std::lognormal_distribution<double> distribution(scale, 0.5);
        gstvp::CLatencyStatistics statistics;
        std::vector<gint64> all;
        for (size_t count = 1; count <= 1000; ++count) {
            all.push_back(static_cast<gint64>(distribution(random)) - 50);
            statistics.Add(all.back());
            if (count % 37 != 0)
                continue;
            std::vector<gint64> sorted = all;
            std::sort(sorted.begin(), sorted.end());
            const double mean = std::accumulate(all.begin(), all.end(), 0.0) / static_cast<double>(count);
            const gint64 exact =
                sorted[static_cast<size_t>(std::ceil(0.99 * static_cast<double>(count))) - 1];
            EXPECT_EQ(statistics.Count(), count);
            EXPECT_EQ(statistics.Last(), all.back());
            EXPECT_EQ(statistics.Min(), sorted.front());
            EXPECT_EQ(statistics.Max(), sorted.back());
            EXPECT_NEAR(static_cast<double>(statistics.Mean()), mean, 1 + std::abs(mean) * 1e-9);
            EXPECT_GE(statistics.Percentile99(), exact);
            EXPECT_LE(statistics.Percentile99(), exact + std::abs(exact) / 64);
        }
    }
}

TEST(LatencyStatistics, HoldTheGreatestAndLeastValues)
{
    for (const gint64 value : {G_MAXINT64, G_MININT64, gint64{0}}) {
        gstvp::CLatencyStatistics statistics;
        statistics.Add(value);
        EXPECT_EQ(statistics.Mean(), value);
        EXPECT_EQ(statistics.Percentile99(), value);
    }
}

TEST(InsertSchedule, BeginsAnewWhenTheTimeJumps)
{
    gstvp::CInsertSchedule schedule;
    const auto isDue = [&](std::optional<gint64> time) {
        return schedule.IsPictureDue(gstvp::InsertWhereInterval, 100, false, time);
    };
    for (const gint64 start : {gint64{0}, gint64{100000}, gint64{-500}, gint64{3}}) {
        EXPECT_TRUE(isDue(start)) << start;
        EXPECT_FALSE(isDue(start + 99));
        EXPECT_TRUE(isDue(start + 130));
        EXPECT_FALSE(isDue(start + 199));
        EXPECT_TRUE(isDue(start + 200));
    }
    EXPECT_TRUE(isDue(std::nullopt));
}
