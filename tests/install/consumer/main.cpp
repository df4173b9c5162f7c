// A tiny program that uses the installed library through its umbrella header.
#include <ImageLib.h>

#include <cstdio>

int main()
{
    CILImageBase image;
    if (!image.InitWithType(eUShort, 4, 3)) return 1;
    if (!image.setConstData(int32_t(65536 + 42))) return 2;
    float minimum = 0, maximum = 0;
    double mean = 0;
    if (!image.getMinMax(&minimum, &maximum, &mean, nullptr, nullptr, nullptr)) return 3;
    if (minimum != 42.0f || maximum != 42.0f || mean != 42.0) return 4;
    std::printf("consumer ok: %ux%u mean %.1f\n", image.get_width(), image.get_height(), mean);
    return 0;
}
