// tavo-scramble: turns a plain-text reference database into the scrambled
// dbase.xml the program reads, optionally packed as the server's dbase.zip.
//   tavo-scramble PLAIN.xml OUT.xml
//   tavo-scramble --zip PLAIN.xml OUT.zip
#include "tools/dbase_scramble.h"
#include "tools/zip_writer.h"

#include <fstream>
#include <iostream>
#include <sstream>
#include <string>

int main(int argc, char** argv)
{
    const bool zip = argc == 4 && std::string(argv[1]) == "--zip";
    if (argc != 3 && !zip) {
        std::cerr << "usage: tavo-scramble [--zip] PLAIN.xml OUT\n";
        return 2;
    }
    const std::string input = argv[zip ? 2 : 1], output = argv[zip ? 3 : 2];
    std::ifstream in(input, std::ios::binary);
    if (!in) {
        std::cerr << "cannot read " << input << "\n";
        return 1;
    }
    std::ostringstream plain;
    plain << in.rdbuf();
    try {
        const auto scrambled = orv::gf_scrambleDbaseText(plain.str());
        if (zip) {
            std::string error;
            if (!orv::gf_writeZip(output, {{"dbase.xml", scrambled, false}}, &error)) {
                std::cerr << error << "\n";
                return 1;
            }
        } else {
            std::ofstream(output, std::ios::binary) << scrambled;
        }
    } catch (const std::exception& e) {
        std::cerr << e.what() << "\n";
        return 1;
    }
    return 0;
}
