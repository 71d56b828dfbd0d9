// What the settings window needs of the application.
#pragma once

namespace corvella {

class WallControls
{
public:
    virtual ~WallControls() = default;
    virtual void show() = 0;
    virtual void hide() = 0;
    virtual void arm() = 0;
    virtual void disarm() = 0;
    // Another mode was chosen in the window: walls that are up stay what they are.
    virtual void keepWalls() = 0;
};

} // namespace corvella
