// stroke_test.cpp - strokes against geometry: areas, corners, caps and dashes.
#include "vector_support.h"

#include <gtest/gtest.h>

namespace
{

struct Stroke : testing::Test
{
    Engine engine;
    Canvas canvas{128, 128};
    KxcPrimitiveTranslator* t = canvas.t;

    double areaOf(const Contour& contour, bool close)
    {
        canvas.surface->clear(0xFF000000);
        t->beginPath();
        canvas.add(contour, close);
        t->endPath();
        return canvas.area();
    }
    /// The covered pixels of a row, as "from-to" runs.
    std::string runs(int y)
    {
        std::string result;
        const std::vector<UINT32> all = canvas.pixels();
        for (int x = 0, start = -1; x <= canvas.width; ++x)
        {
            const bool covered = x < canvas.width && (all[static_cast<size_t>(y * canvas.width + x)] & 0xFF) > 126;
            if (covered && start < 0)
                start = x;
            if (!covered && start >= 0)
                result += std::to_string(start) + "-" + std::to_string(x) + " ", start = -1;
        }
        return result;
    }
};

TEST_F(Stroke, EndsInTheCapThatIsSet)
{
    const struct
    {
        INT32 cap;
        double area;
        int left; // of the line's middle row
    } cases[] = {{KXCLINECAP_BUTT, 40 * 20, 40},
                 {KXCLINECAP_SQUARE, 60 * 20, 30},
                 {KXCLINECAP_ROUND, 40 * 20 + 100 * M_PI, 30},
                 {17, 40 * 20, 40}};
    for (const auto& c : cases)
        for (const double turn : {0.0, 0.5, 1.0, 2.0})
        {
            canvas.strokeOnly(20, c.cap, KXCLINEJOIN_MITER);
            t->setTransformation(matrix(std::cos(turn), std::sin(turn), -std::sin(turn), std::cos(turn), 60, 60));
            EXPECT_NEAR(areaOf({{-20, 0}, {20, 0}}, false), c.area, 0.02 * c.area) << c.cap << ", turned " << turn;
            if (turn == 0)
            {
                EXPECT_EQ(runs(60), std::to_string(c.left) + "-" + std::to_string(120 - c.left) + " ") << c.cap;
            }
        }
}

TEST_F(Stroke, JoinsCornersInTheWayThatIsSet)
{
    // A right angle of two lines 40 long and 10 wide: 2 x 400 without the square they share, and the corner.
    const struct
    {
        INT32 join;
        double corner, limit;
    } cases[] = {{KXCLINEJOIN_MITER, 25, 4},
                 {KXCLINEJOIN_MITER, 12.5, 1.3},
                 {KXCLINEJOIN_BEVEL, 12.5, 4},
                 {KXCLINEJOIN_ROUND, 25 * M_PI / 4, 4},
                 {99, 12.5, 4}};
    for (const auto& c : cases)
        for (const bool mirrored : {false, true})  // turning left, then right
            for (const double scale : {1.0, 0.02}) // in units a fiftieth as large
            {
                canvas.strokeOnly(10 * scale, KXCLINECAP_BUTT, c.join);
                t->setMiterLimit(fixed(c.limit));
                t->setTransformation(matrix(1 / scale, 0, 0, 1 / scale, 0, 0));
                const double end = (mirrored ? 100 : 20) * scale, x = 60 * scale, y = 60 * scale;
                const double area = areaOf({{x, 20 * scale}, {x, y}, {end, y}}, false);
                EXPECT_NEAR(area, 800 - 25 + c.corner, 4) << c.join << ", limit " << c.limit << ", scale " << scale;
            }
}

TEST_F(Stroke, BevelsMitersBeyondTheLimit)
{
    canvas.strokeOnly(8, KXCLINECAP_BUTT, KXCLINEJOIN_MITER);
    const double angle = 10 * M_PI / 180, reach = 4 / std::sin(angle / 2); // 45.9 pixels
    const Contour corner = {{80 - 70 * std::cos(angle), 64 - 70 * std::sin(angle)}, {80, 64}, {10, 64}};
    t->setMiterLimit(fixed(12)); // the miter is 11.5 half widths long
    areaOf(corner, false);
    EXPECT_GT(canvas.coverage(80 + int(reach) - 6, 67), 0);
    t->setMiterLimit(1);
    areaOf(corner, false);
    EXPECT_EQ(canvas.coverage(86, 64), 0);
}

TEST_F(Stroke, ClosesPathsWithAJoinAndNoCaps)
{
    for (const INT32 join : {KXCLINEJOIN_MITER, KXCLINEJOIN_BEVEL, KXCLINEJOIN_ROUND})
    {
        canvas.strokeOnly(10, KXCLINECAP_SQUARE, join);
        const double corner = join == KXCLINEJOIN_MITER ? 25 : join == KXCLINEJOIN_BEVEL ? 12.5 : 25 * M_PI / 4;
        EXPECT_NEAR(areaOf({{30, 30}, {90, 30}, {90, 90}, {30, 90}}, true), 70 * 70 - 50 * 50 - 4 * (25 - corner), 6)
            << join;
        EXPECT_EQ(canvas.coverage(60, 60), 0);
    }
}

TEST_F(Stroke, RoundsCornersInEllipsesWhereTheTransformationStretches)
{
    canvas.strokeOnly(10, KXCLINECAP_ROUND, KXCLINEJOIN_ROUND);
    t->setTransformation(matrix(3, 0, 0, 1, 60, 60));
    EXPECT_NEAR(areaOf({{-8, 0}, {8, 0}}, false), 3 * (160 + 25 * M_PI), 8);
    EXPECT_EQ(runs(60), "21-99 "); // (8 + 5) x 3 to either side
}

TEST_F(Stroke, DrawsHairlinesFainterInsteadOfThinner)
{
    const struct
    {
        double width, opacity;
    } cases[] = {{0.04, 0}, {0.06, 61}, {0.125, 127}, {0.25, 255}, {0, 0}};
    for (const auto& c : cases)
    {
        canvas.strokeOnly(c.width, KXCLINECAP_BUTT, KXCLINEJOIN_MITER);
        double sum = 0; // light, over all places that the line can have within a pixel
        for (int phase = 0; phase < 32; ++phase)
        {
            canvas.surface->clear(0xFF000000);
            t->setTransformation(matrix(1, 0, 0, 1, 0, phase / 32.0));
            t->beginPath();
            canvas.add({{10, 20}, {110, 20}}, false);
            t->endPath();
            for (int y = 19; y < 22; ++y)
                sum += canvas.coverage(50, y) / 32.0;
        }
        EXPECT_NEAR(sum, 0.25 * c.opacity, 0.03 * c.opacity + 0.5) << c.width;
    }
}

TEST_F(Stroke, CutsPathsIntoDashes)
{
    canvas.strokeOnly(4, KXCLINECAP_BUTT, KXCLINEJOIN_MITER);
    const struct
    {
        std::vector<double> dashes;
        double offset;
        const char* runs;
    } cases[] = {{{30, 10}, 0, "10-40 50-80 90-110 "},
                 {{30, 10}, 10, "10-30 40-70 80-110 "},
                 {{30, 10}, 35, "15-45 55-85 95-110 "},
                 {{30, 10}, 40 * 500 + 10, "10-30 40-70 80-110 "},
                 {{30, 10}, -20, "10-60 70-100 "},
                 {{30, 0, -2, 10}, 0, "10-40 50-80 90-110 "}, // what is not positive is left out
                 {{20}, 0, "10-30 50-70 90-110 "},
                 {{20}, 30, "20-40 60-80 100-110 "}, // in the gap that a single entry has too
                 {{0, -1}, 0, "10-110 "},
                 {{1 / 65536.0}, 0, "10-110 "}}; // too fine to be told apart
    for (const auto& c : cases)
    {
        std::vector<KxcFixed> dashes;
        for (const double d : c.dashes)
            dashes.push_back(fixed(d));
        t->setDashArray(dashes.data(), static_cast<INT32>(dashes.size()));
        t->setDashOffset(fixed(c.offset));
        areaOf({{10, 20}, {110, 20}}, false);
        EXPECT_EQ(runs(20), c.runs) << "first entry " << c.dashes[0] << ", offset " << c.offset;
    }
    t->setDashArray(nullptr, 3);
    areaOf({{10, 20}, {110, 20}}, false);
    EXPECT_EQ(runs(20), "10-110 ");
}

TEST_F(Stroke, DashesRunOnAroundCornersAndIntoTheNextSubpath)
{
    canvas.strokeOnly(2, KXCLINECAP_BUTT, KXCLINEJOIN_MITER);
    const KxcFixed dashes[2] = {fixed(30), fixed(30)};
    t->setDashArray(dashes, 2);
    canvas.surface->clear(0xFF000000);
    t->beginPath();
    canvas.add({{10, 10}, {30, 10}, {30, 50}}, false); // dash to (30, 20), gap to (30, 50)
    canvas.add({{60, 10}, {100, 10}}, false);          // a new dash, to (90, 10)
    t->endPath();
    EXPECT_EQ(runs(10), "10-31 60-90 ");
    EXPECT_EQ(runs(15), "29-31 ");
    EXPECT_EQ(runs(25), "");
}

TEST_F(Stroke, SurvivesEdgesThatTurnBackAndPointsThatCoincide)
{
    for (const INT32 join : {KXCLINEJOIN_MITER, KXCLINEJOIN_ROUND, KXCLINEJOIN_BEVEL})
    {
        canvas.strokeOnly(10, KXCLINECAP_BUTT, join);
        t->setTransformation(matrix(1, 0, 0, 1, 0, 0));
        const double round = join == KXCLINEJOIN_ROUND ? 12.5 * M_PI : 0;
        EXPECT_NEAR(areaOf({{20, 60}, {80, 60}, {40, 60}}, false), 600 + round, 6) << join;
        EXPECT_NEAR(areaOf({{20, 60}, {20, 60}, {80, 60}, {80.001, 60}}, false), 600, 2) << join;
        EXPECT_EQ(areaOf({{20, 60}, {20, 60}}, true), 0);
    }
}

} // namespace
