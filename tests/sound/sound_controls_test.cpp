// The logic under sound mode's controls: the input menu's entries and the level meter's
// ballistics.
#include <gtest/gtest.h>

#include "sound/level_meter.h"
#include "sound/sound_input_menu.h"

namespace gs {
namespace {

TEST(SoundInputMenu, ListsTheDefaultFirstAndChecksWhatIsInUse) {
    const QList<AudioInputChoice> two{{"alsa_input.usb", "USB Microphone"}, {"alsa_input.pci", "Built-in Audio"}};
    const struct {
        const char* name;
        QList<AudioInputChoice> inputs;
        QByteArray chosen;
        QList<SoundInputMenuEntry> want;
    } cases[] = {
        {"nothing chosen", two, "",
         {{"System Default", "", true}, {"USB Microphone", "alsa_input.usb", false},
          {"Built-in Audio", "alsa_input.pci", false}}},
        {"chosen and listed", two, "alsa_input.pci",
         {{"System Default", "", false}, {"USB Microphone", "alsa_input.usb", false},
          {"Built-in Audio", "alsa_input.pci", true}}},
        {"chosen but gone", two, "bluez_input.headset",
         {{"System Default", "", true}, {"USB Microphone", "alsa_input.usb", false},
          {"Built-in Audio", "alsa_input.pci", false}}},
        {"no inputs", {}, "alsa_input.usb", {{"System Default", "", true}}},
        {"same descriptions and none",
         {{"usb-1", "USB Microphone"}, {"usb-2", "USB Microphone"}, {"odd", " "}},
         "usb-2",
         {{"System Default", "", false}, {"USB Microphone (usb-1)", "usb-1", false},
          {"USB Microphone (usb-2)", "usb-2", true}, {"odd", "odd", false}}},
    };
    for (const auto& c : cases) EXPECT_EQ(soundInputMenuEntries(c.inputs, c.chosen), c.want) << c.name;
}

// Up: most of the way within a tick, never past the level. Down: 1.2 of full scale a second,
// in a straight line, never below the level. Levels off the scale count as its ends.
TEST(LevelMeter, RisesQuicklyAndFallsCalmly) {
    const double tick = 1.0 / 30;
    EXPECT_NEAR(meterLevel(0, 1, tick), 14.0 / 30, 1e-12);
    EXPECT_DOUBLE_EQ(meterLevel(0.2, 0.9, 0.25), 0.9);
    EXPECT_NEAR(meterLevel(1, 0, tick), 1 - 0.04, 1e-12);
    EXPECT_EQ(meterLevel(0.5, 0.45, 0.25), 0.45);
    EXPECT_EQ(meterLevel(0, 7, 1), 1.0);
    EXPECT_EQ(meterLevel(0.5, -3, 1), 0.0);
}

}  // namespace
}  // namespace gs
