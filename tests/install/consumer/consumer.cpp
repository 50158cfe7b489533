// A program that uses NYX from outside: public headers only, nothing but the documented ways to find the library.
#include <nyx/nyx.h>

#include <iostream>
#include <string>

int main() {
    NYX_BOX box(0, 0, 10, 20);
    box.transform(NYX_TRANSFORM(100, 200, NYX_ORIENTATION::W));
    std::cout << "box " << box.get_left() << ' ' << box.get_bottom() << ' ' << box.get_right() << ' ' << box.get_top()
              << '\n';
    std::cout << "valid id " << (NYX_NET_ID(7) != NYX_NET_ID::INVALID) << '\n';
    try {
        nyx_get_char_of_direction(static_cast<NYX_DIRECTION>(6));
    } catch (const NYX_INVALID_ARGUMENT &error) {
        const std::string text = error.what();
        std::cout << "caught " << text.substr(0, text.find(" in ")) << '\n';
    }
}
