// A tool that reads storage: a self-relative pointer survives a byte copy of all that it lies in.
#include <memory/nyx_serialization.h>

#include <cstring>
#include <iostream>

struct IMAGE {
    NYX_FAST_OFFSET_PTR<int> pointer;
    int target = 42;
};

int main() {
    IMAGE image;
    image.pointer = &image.target;
    alignas(IMAGE) unsigned char copy[sizeof(IMAGE)];
    std::memcpy(copy, &image, sizeof(IMAGE));
    const auto *moved = reinterpret_cast<const IMAGE *>(copy);
    std::cout << *moved->pointer << ' ' << (moved->pointer.get() == &moved->target) << '\n';
}
