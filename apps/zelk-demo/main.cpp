// zelk-demo: composes rendered pictures into one contact sheet.
#include <cstdio>
#include <exception>

#include "apps/zelk-demo/contact_sheet.h"

int main(int argc, char** argv) {
    if (argc < 3) {
        std::fprintf(stderr,
                     "zelk-demo: usage: zelk-demo SHEET.png ROW...\n"
                     "  ROW is LABEL:FILE[:LABEL@X,Y]...[;LABEL:FILE...]\n");
        return 2;
    }
    try {
        std::vector<zelk::SheetRow> rows;
        for (int i = 2; i < argc; ++i) rows.push_back(zelk::parseRow(argv[i]));
        zelk::writeSheet(argv[1], rows);
        return 0;
    } catch (std::exception const& error) {
        std::fprintf(stderr, "zelk-demo: %s\n", error.what());
        return 1;
    }
}
