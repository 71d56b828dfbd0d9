#include "platform/layers/RendererKind.h"

#include <gtest/gtest.h>

namespace corvella {
namespace {

TEST(SoftwareGl, IsKnownByItsName)
{
    EXPECT_TRUE(isSoftwareGl("llvmpipe (LLVM 15.0.6, 256 bits)"));
    EXPECT_TRUE(isSoftwareGl("softpipe"));
    EXPECT_TRUE(isSoftwareGl("Google SwiftShader"));
    EXPECT_TRUE(isSoftwareGl("Software Rasterizer"));
}

TEST(SoftwareGl, GpusAreNotMistakenForIt)
{
    EXPECT_FALSE(isSoftwareGl("Mesa Intel(R) UHD Graphics 620 (KBL GT2)"));
    EXPECT_FALSE(isSoftwareGl("NVIDIA GeForce GTX 1650/PCIe/SSE2"));
    EXPECT_FALSE(isSoftwareGl("AMD Radeon Graphics (raven, LLVM 15.0.6, DRM 3.49)"));
    EXPECT_FALSE(isSoftwareGl("V3D 4.2"));
}

} // namespace
} // namespace corvella
