// Textures: pixel buffer, alpha rules, rescaling, the LRU cache of texture
// objects and what a textured square shows.
#include "qeltestbed.h"

#include <qelon/qelon.h>

using qeltest::GLRecorder;

namespace {

class TextureTest : public QelGLTest {
protected:
  void SetUp() override {
    QelGLTest::SetUp();
    while (!GetTextureList().empty()) DeleteTexture(GetTextureList().front());
    SetMaxTexture(4);
    RedrawTextures();
  }
  // A bitmap of w x h pixels of one colour.
  static std::unique_ptr<TBitmap> Filled(int w, int h, TColor c) {
    auto b = std::make_unique<TBitmap>(w, h);
    for (int y = 0; y < h; ++y)
      for (int x = 0; x < w; ++x) b->SetPixel(x, y, c);
    return b;
  }
  static void TexturedQuad() {
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    glBegin(GL_QUADS);
    glTexCoord2f(0, 0); glVertex2f(-1, -1);
    glTexCoord2f(1, 0); glVertex2f(1, -1);
    glTexCoord2f(1, 1); glVertex2f(1, 1);
    glTexCoord2f(0, 1); glVertex2f(-1, 1);
    glEnd();
  }
  TQelCustomView view{nullptr};
};

TEST(TextureRules, ValidSizesArePowersOfTwo) {
  EXPECT_TRUE(TQelTexture::IsValidSize(1));
  EXPECT_TRUE(TQelTexture::IsValidSize(64));
  EXPECT_TRUE(TQelTexture::IsValidSize(1 << 30));
  EXPECT_FALSE(TQelTexture::IsValidSize(0));
  EXPECT_FALSE(TQelTexture::IsValidSize(100));
  EXPECT_FALSE(TQelTexture::IsValidSize(-4));
}

TEST(TextureRules, SwapBitsExchangesRedAndBlueAndClearsAlpha) {
  uint32_t p[2] = {0xAA112233, 0x00FF0000};
  TQelTexture::SwapBits(p, sizeof p);
  EXPECT_EQ(p[0], 0x00332211u);
  EXPECT_EQ(p[1], 0x000000FFu);
}

TEST_F(TextureTest, PixelBufferIsRGBABottomUpWithTheOverallAlpha) {
  TQelTexture t(nullptr);
  t.SetAlpha(0.5f);  // 127.5 rounds to the even 128
  TBitmap b(2, 2);
  b.SetPixel(0, 0, 0x0000FF);  // top left red
  b.SetPixel(1, 1, 0xFF0000);  // bottom right blue
  t.SetBitmap(&b);
  ASSERT_EQ(t.GetPixels().size(), 4u);
  EXPECT_EQ(t.GetPixels()[1], 0x80FF0000u);  // bottom row first: blue at (1, bottom)
  EXPECT_EQ(t.GetPixels()[2], 0x800000FFu);  // then the top row: red at (0, top)
  t.SetAlpha(1.0f);
  EXPECT_EQ(t.GetPixels()[2], 0xFF0000FFu);
  t.SetAlpha(1.5f);  // ignored
  EXPECT_EQ(t.GetAlpha(), 1.0f);
}

TEST_F(TextureTest, MaskAlphaMakesExactlyTheKeyedPixelsTransparent) {
  TQelTexture t(nullptr);
  auto b = Filled(4, 4, 0x00FF00);
  b->SetPixel(1, 2, 0x123456);
  t.SetBitmap(b.get());
  ASSERT_TRUE(t.SetMaskAlpha(1.0, 0x00FF00, 0.0));
  int transparent = 0;
  for (uint32_t p : t.GetPixels()) transparent += (p >> 24) == 0;
  EXPECT_EQ(transparent, 15);
  TQelTexture empty(nullptr);
  EXPECT_FALSE(empty.SetMaskAlpha(1.0, 0, 0.0));
}

TEST_F(TextureTest, AlphaBitmapMapsTopDownGreyOntoTheBottomUpBuffer) {
  TQelTexture t(nullptr);
  auto b = Filled(2, 2, 0xFFFFFF);
  t.SetBitmap(b.get());
  TBitmap alpha(2, 2);
  alpha.SetPixel(0, 0, 0x303030);  // top left grey 0x30
  t.SetAlphaBitmap(&alpha);
  EXPECT_EQ(t.GetPixels()[2] >> 24, 0x30u);  // top left sits in the second row of the buffer
  EXPECT_EQ(t.GetPixels()[0] >> 24, 0u);
}

TEST_F(TextureTest, NonPowerOfTwoBitmapsAreScaledUpBeforeUpload) {
  TQelTexture t(nullptr);
  auto b = Filled(100, 64, 0x0000FF);
  t.SetBitmap(b.get());
  EXPECT_TRUE(t.GetPixels().empty());
  t.Render(&view);
  EXPECT_EQ(t.GetBitmap()->GetWidth(), 128);
  EXPECT_EQ(t.GetBitmap()->GetHeight(), 64);
  EXPECT_EQ(t.GetPixels().size(), 128u * 64u);
  EXPECT_EQ(t.GetPixels()[500], 0xFF0000FFu);
  GLint width = 0;
  glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_WIDTH, &width);
  EXPECT_EQ(width, 128);

  TQelTexture square(nullptr);
  auto s = Filled(64, 64, 0);
  square.SetBitmap(s.get());
  square.Render(&view);
  EXPECT_EQ(square.GetBitmap()->GetWidth(), 64);
}

TEST_F(TextureTest, SameTextureTwiceInAFrameBindsOnceAndAgainAfterTheFrameReset) {
  TQelTexture t(nullptr);
  auto b = Filled(8, 8, 0xFFFFFF);
  t.SetBitmap(b.get());
  GLRecorder rec;
  t.Render(&view);
  t.Render(&view);
  EXPECT_EQ(rec.Count("glBindTexture"), 1);
  EXPECT_EQ(rec.Count("glTexImage2D"), 1);
  RedrawTextures();
  t.Render(&view);
  EXPECT_EQ(rec.Count("glBindTexture"), 2);
  EXPECT_EQ(rec.Count("glTexImage2D"), 1);  // the image stays uploaded
}

TEST_F(TextureTest, AFifthTextureEvictsTheLeastRecentlyUsedOneWhichUploadsAgainLater) {
  std::vector<std::unique_ptr<TQelTexture>> textures;
  auto b = Filled(4, 4, 0xFFFFFF);
  for (int i = 0; i < 5; ++i) {
    textures.push_back(std::make_unique<TQelTexture>(nullptr));
    textures.back()->SetBitmap(b.get());
  }
  for (int i = 0; i < 4; ++i) textures[i]->Render(&view);
  const GLuint firstID = textures[0]->GetTextureID();
  ASSERT_TRUE(glIsTexture(firstID));
  textures[1]->Render(&view);  // 1 becomes the most recent; 0 is the least recent
  textures[4]->Render(&view);
  EXPECT_EQ(GetTextureList().size(), 4u);
  EXPECT_FALSE(glIsTexture(firstID));
  EXPECT_EQ(textures[0]->GetTextureID(), 0u);
  EXPECT_TRUE(glIsTexture(textures[1]->GetTextureID()));
  GLRecorder rec;
  textures[0]->Render(&view);
  EXPECT_EQ(rec.Count("glTexImage2D"), 1);
  EXPECT_EQ(textures[2]->GetTextureID(), 0u);  // the next least recent went
}

TEST_F(TextureTest, MaxTextureShrinksTheCacheButNeverBelowOne) {
  std::vector<std::unique_ptr<TQelTexture>> textures;
  auto b = Filled(4, 4, 0xFFFFFF);
  for (int i = 0; i < 3; ++i) {
    textures.push_back(std::make_unique<TQelTexture>(nullptr));
    textures.back()->SetBitmap(b.get());
    textures.back()->Render(&view);
  }
  EXPECT_EQ(SetMaxTexture(0), 4);
  EXPECT_EQ(SetMaxTexture(1), 1);
  EXPECT_EQ(GetTextureList().size(), 1u);
  EXPECT_EQ(GetTextureList()[0], textures[2].get());
  EXPECT_EQ(SetMaxTexture(10), 10);
}

TEST_F(TextureTest, MipmappingChangeForcesANewUploadButMagFilterDoesNot) {
  TQelTexture t(nullptr);
  auto b = Filled(8, 8, 0xFFFFFF);
  t.SetBitmap(b.get());
  t.Render(&view);
  t.SetFilter({tfMagFilter});
  GLRecorder rec;
  t.Render(&view);
  EXPECT_EQ(rec.Count("glTexImage2D"), 0);
  EXPECT_EQ(rec.Count("gluBuild2DMipmaps"), 0);
  EXPECT_EQ(rec.Count("glTexParameteri"), 4);  // dirty: parameters set again
  t.SetFilter({tfMagFilter, tfMinFilter, tfMipMapping});
  t.Render(&view);
  EXPECT_EQ(rec.Count("gluBuild2DMipmaps"), 1);
  GLint minFilter = 0;
  glGetTexParameteriv(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, &minFilter);
  EXPECT_EQ(minFilter, GL_LINEAR_MIPMAP_NEAREST);
}

TEST_F(TextureTest, ColourKeyedPixelsShowTheBackground) {
  ExpectGLErrors();  // untouched attributes hand line width 0 to GL, which rejects it
  // Left half of the texture is the key colour (green), right half red.
  TQelTexture t(nullptr);
  TBitmap b(4, 4);
  for (int y = 0; y < 4; ++y)
    for (int x = 0; x < 4; ++x) b.SetPixel(x, y, x < 2 ? 0x00FF00 : 0x0000FF);
  t.SetBitmap(&b);
  t.SetMaskAlpha(1.0, 0x00FF00, 0.0);
  glClearColor(0, 0, 1, 1);
  glClear(GL_COLOR_BUFFER_BIT);
  TQelAttributes blend(nullptr);
  blend.SetTransparency(tmAlpha);
  SetLastRenderedAttributes(nullptr);
  blend.Render(&view);
  t.Render(&view);
  glColor4f(1, 1, 1, 1);
  TexturedQuad();
  auto left = ReadPixel(40, 128), right = ReadPixel(220, 128);
  EXPECT_EQ(left[0], 0);
  EXPECT_EQ(left[1], 0);
  EXPECT_EQ(left[2], 255);  // background
  EXPECT_EQ(right[0], 255);
  EXPECT_EQ(right[2], 0);
}

TEST_F(TextureTest, EmptyBitmapRendersNothingAndDisableSwitchesTexturingOff) {
  TQelTexture t(nullptr);
  GLRecorder rec;
  t.Render(&view);
  EXPECT_EQ(rec.Count("glEnable"), 0);
  EXPECT_EQ(t.GetTextureID(), 0u);
  glEnable(GL_TEXTURE_2D);
  t.SetEnabled(false);
  t.Render(&view);
  EXPECT_FALSE(glIsEnabled(GL_TEXTURE_2D));
}

TEST_F(TextureTest, FileNameLoadsAnExistingFileAndKeepsAMissingName) {
  TQelTexture t(nullptr);
  t.SetFileName("/nonexistent/picture.png");
  EXPECT_EQ(t.GetFileName(), "/nonexistent/picture.png");
  EXPECT_TRUE(t.GetBitmap()->GetEmpty());
  auto b = Filled(8, 4, 0x0000FF);
  const std::string path = ::testing::TempDir() + "qel_texture.png";
  b->SaveToFile(path);
  t.SetFileName(path);
  EXPECT_EQ(t.GetBitmap()->GetWidth(), 8);
  EXPECT_EQ(t.GetPixels().size(), 32u);
}

TEST_F(TextureTest, DestroyingATextureFreesItsTextureObject) {
  auto* t = new TQelTexture(nullptr);
  auto b = Filled(4, 4, 0);
  t->SetBitmap(b.get());
  t->Render(&view);
  const GLuint id = t->GetTextureID();
  ASSERT_TRUE(glIsTexture(id));
  delete t;
  EXPECT_FALSE(glIsTexture(id));
  EXPECT_TRUE(GetTextureList().empty());
}

}  // namespace
