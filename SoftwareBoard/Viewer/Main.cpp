// tavrin-board-viewer: the commands of tavrin-board that show pictures to people.
#include "Viewer.h"

using namespace SoftwareBoard;

int main(int argc, char* argv[])
{
    constexpr Panel::SCommand aoCommands[] = {
        {Panel::WATCH_TEXT, Viewer::AddWatch},
        {Panel::PREVIEW_TEXT, Viewer::AddPreview},
    };
    return Panel::RunProgram(argc, argv, aoCommands);
}
