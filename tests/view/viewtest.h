#pragma once
// Helpers of the view tests: a fixture on the headless window system,
// reference matrices from GLU, and scene pieces that draw what a test can
// find again in the picture.
#include <GL/gl.h>
#include <GL/glu.h>
#include <gtest/gtest.h>

#include <array>
#include <list>
#include <string>
#include <vector>

#include "glrecorder.h"
#include "qeltestbed.h"
#include <qelon/qelon.h>

// Each test runs on the headless backend, with no failures set and no
// listener, and leaves no context current.
class ViewTest : public ::testing::Test {
protected:
  void SetUp() override {
    ws = QelEGLWindowSystem();
    QelSetWindowSystem(ws);
    ws->SetFailures({});
    ws->OnCall = nullptr;
  }
  void TearDown() override {
    ws->SetFailures({});
    ws->OnCall = nullptr;
    ws->ReleaseCurrent();
    QelSetWindowSystem(nullptr);
  }
  // Counts the window-system operations named op from now on.
  int* Count(const std::string& op) {
    counts.emplace_back(op, 0);
    ws->OnCall = [this](const std::string& called) {
      for (auto& [name, n] : counts)
        if (name == called) ++n;
    };
    return &counts.back().second;
  }

  TQelWindowSystem* ws = nullptr;
  std::list<std::pair<std::string, int>> counts;
};

// The matrices a right-handed camera at eye looking at target with up
// should produce, made by GLU in a scratch context: perspective with angle
// and aspect, near 0.1 and far 10.
struct TReference {
  std::array<double, 16> projection{}, modelview{};
  std::array<int, 4> viewport{};
  // Window position (x right, y up from the bottom, depth) of a point.
  std::array<double, 3> Project(double x, double y, double z) const {
    std::array<double, 3> w{};
    gluProject(x, y, z, modelview.data(), projection.data(), viewport.data(), &w[0], &w[1], &w[2]);
    return w;
  }
  std::array<double, 3> UnProject(double wx, double wy, double wz) const {
    std::array<double, 3> p{};
    gluUnProject(wx, wy, wz, modelview.data(), projection.data(), viewport.data(), &p[0], &p[1], &p[2]);
    return p;
  }
};

// A modelview from gluLookAt (needs a current context).
inline std::array<double, 16> LookAtMatrix(const TQelMathVector& eye, const TQelMathVector& target,
                                           const TQelMathVector& up) {
  glMatrixMode(GL_MODELVIEW);
  glPushMatrix();
  glLoadIdentity();
  gluLookAt(eye.x, eye.y, eye.z, target.x, target.y, target.z, up.x, up.y, up.z);
  std::array<double, 16> m{};
  glGetDoublev(GL_MODELVIEW_MATRIX, m.data());
  glPopMatrix();
  return m;
}

inline std::array<double, 16> PerspectiveMatrix(double angle, double aspect, double zNear, double zFar) {
  glMatrixMode(GL_PROJECTION);
  glPushMatrix();
  glLoadIdentity();
  gluPerspective(angle, aspect, zNear, zFar);
  std::array<double, 16> m{};
  glGetDoublev(GL_PROJECTION_MATRIX, m.data());
  glPopMatrix();
  glMatrixMode(GL_MODELVIEW);
  return m;
}

// Big square points, unlit, in the object's colour: they face the screen
// from every side.
class TDots : public TQelObject {
public:
  explicit TDots(TComponent* AOwner, std::vector<TQelMathVector> points = {}, float size = 7)
      : TQelObject(AOwner), points(std::move(points)), size(size) {}
  void DoRender(TQelCustomView* view) override {
    TQelObject::DoRender(view);
    glPushAttrib(GL_ENABLE_BIT | GL_POINT_BIT);
    glDisable(GL_LIGHTING);
    glPointSize(size);
    glBegin(GL_POINTS);
    for (const TQelMathVector& p : points) glVertex3d(p.x, p.y, p.z);
    glEnd();
    glPopAttrib();
  }
  std::vector<TQelMathVector> points;
  float size;
};

// A flat unlit quad in the object's colour.
class TQuad : public TQelObject {
public:
  TQuad(TComponent* AOwner, std::array<TQelMathVector, 4> corners)
      : TQelObject(AOwner), corners(corners) {}
  void DoRender(TQelCustomView* view) override {
    TQelObject::DoRender(view);
    glBegin(GL_QUADS);
    for (const TQelMathVector& p : corners) glVertex3d(p.x, p.y, p.z);
    glEnd();
  }
  std::array<TQelMathVector, 4> corners;
};

inline TColor RGB(int r, int g, int b) { return TColor(r | (g << 8) | (b << 16)); }
