// Tries every file of the folder named. Where one fails, its name is the last that was printed.
#include "fuzz/Fuzz.h"

#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>

int main(int, char** arguments) {
    int tried = 0;
    for (const auto& file : std::filesystem::directory_iterator(arguments[1])) {
        std::cout << file.path().filename().string() << std::endl;
        std::ifstream stream(file.path(), std::ios::binary);
        velmora::fuzz::run(std::string(std::istreambuf_iterator<char>(stream), {}));
        ++tried;
    }
    return tried > 0 ? 0 : 1;
}
