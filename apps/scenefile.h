#pragma once
// Scene files in the qelon program: loading one (with a progress bar on a
// terminal), placing the camera to see what was loaded, and the commands
// `qelon info` and `qelon save-demo`.
#include <string>

#include <qelon/qelon.h>

enum TSceneLoad {
  slLoaded,      // no message of level Error or worse
  slWithErrors,  // errors were logged; top holds what could be read
  slFailed       // the file could not be read (or is no scene file)
};
// Loads fileName into top, a fresh node; messages of level Warning or worse
// and the reason of a failure go to stderr.
TSceneLoad LoadSceneFile(const std::string& fileName, TQelNode* top);

// Places camera to see every mesh below top, looking from above, in front
// and to the side as the demo camera does, for a picture of width by height
// pixels. Returns the distance from the camera to the middle of the scene.
double FrameScene(TQelPerspectiveCamera* camera, TQelNode* top, int width, int height);

// `qelon info FILE`: the tree of the loaded scene and the load's messages;
// 0 when nothing of level 10 or below was logged, else 1.
int SceneInfo(const std::string& fileName);

// `qelon save-demo FILE`: writes the demo scene; 0 on success.
int SaveDemo(const std::string& fileName);
