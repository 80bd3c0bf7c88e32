#include "tests/cli/ProgramTest.h"

#include <cairo.h>

#include <numbers>

using Plot = ProgramTest;

// Channel 2 has a second of silence and then one of a sine at 5 kHz, which stays as it is.
TEST_F(Plot, ShowsLevelsAtTheirTimesAndFrequencies)
{
    std::vector<double> samples(2 * 88200);
    for (std::size_t i = 44100; i < 88200; ++i)
        samples[2 * i + 1] =
            0.005 * std::sin(2.0 * std::numbers::pi * 5000.0 * static_cast<double>(i) / 44100.0);
    write("in.wav", samples, 2, kDouble);
    std::ofstream("moves.json") << R"({"reso": 0.5})";
    // Fontconfig, behind Cairo, does not free all of its memory.
    EXPECT_EQ(
        run("export LSAN_OPTIONS=detect_leaks=0; cp in.wav $'\\xff'.wav; $W plot $'\\xff'.wav -o "
            "silence.PNG && $W plot in.wav -o picture.png --channel 2 --on-off off --automation moves.json"),
        "silence.PNG: channel 1 of 2, 44100 Hz, output silent\n"
        "picture.png: channel 2 of 2, 44100 Hz, output peak -46.0 dBFS\n");
    // Brightness, 0 to 1. The input is in the rows 62 to 172, the output in 196 to 652 from 10 kHz down to 0;
    // 1020 columns from 78 on are the two seconds.
    const auto brightness = [](const char* file, int x, int y) {
        cairo_surface_t* const picture = cairo_image_surface_create_from_png(file);
        const unsigned char* const pixel =
            cairo_image_surface_get_data(picture) + y * cairo_image_surface_get_stride(picture) + 4 * x;
        const double sum = pixel[0] + pixel[1] + pixel[2];
        cairo_surface_destroy(picture);
        return sum / (3.0 * 255.0);
    };
    const double places[][4] = {{400, 424, 0.0, 0.1}, {580, 424, 0.0, 0.5},  {586, 424, 0.6, 0.75},
                                {590, 424, 0.6, 1.0}, {1090, 424, 0.8, 1.0}, {900, 416, 0.0, 0.4},
                                {900, 432, 0.0, 0.4}, {586, 80, 1.0, 1.0},   {590, 80, 0.0, 0.7},
                                {590, 160, 0.0, 0.7}};
    for (const auto& [x, y, low, high] : places)
        EXPECT_THAT(brightness("picture.png", static_cast<int>(x), static_cast<int>(y)),
                    testing::AllOf(testing::Ge(low), testing::Le(high)))
            << x << ", " << y;
    EXPECT_LT(brightness("silence.PNG", 900, 424), 0.1);
    expectFailure(2, "$W plot in.wav -o out.svg", "end its name in .png");
    expectFailure(1, "$W plot in.wav -o out.png --channel 3", "no channel 3");
    expectFailure(1, "cat in.wav | $W render - | $W plot - -o out.png", "not known in advance");
}
