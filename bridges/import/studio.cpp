// SPDX-License-Identifier: Apache-2.0
#include "studio.h"

#include <algorithm>

namespace orca::bridge {

std::vector<std::string> printStudio(SceneText& text, const std::string& environment) {
    const std::string dome = text.name("dome"), sun = text.name("sun");
    text.print(R"(
# Light of all directions, of which reflections show the environment, and one with shadows.
shader "{2}" "velaEnvironmentLatLong" (
    "zenith" 0.46 0.51 0.60 1, "horizon" 0.42 0.43 0.45 1, "ground" 0.16 0.15 0.14 1, "feedsGather" off )
light "{0}" "velaDomeLight" (
    "zenith" 0.46 0.51 0.60 1, "horizon" 0.42 0.43 0.45 1, "ground" 0.16 0.15 0.14 1, "emitSpecular" off ) user 4 4 end light
instance "{0} here" "{0}" end instance
light "{1}" "orcaVelaDirectionalLight" (
    "intensity" 0.85, "color" 1 0.95 0.87 1, "lightAngle" 3, "shadowRays" 4 ) direction -0.55 -1 -0.45 end light
instance "{1} here" "{1}" end instance
)",
               dome, sun, environment);
    return {dome + " here", sun + " here"};
}

std::string printGround(SceneText& text, const Box& bounds) {
    const double half = 40 * std::max(bounds.radius(), 1e-6);
    const aiVector3t<double> c = bounds.centre();
    const std::string name = text.name("ground");
    text.print(R"(
shader "{0}" "orcaVelaLambert" ( "color" 0.5 0.5 0.5 1 )
material "{0} material" opaque "orcaVelaShadingEngine" ( "surfaceShader" "{0}" ) shadow "orcaVelaFastShadow" ( ) end material
object "{0} plane"
    visible on  shadow on  trace on
    group
        {1:.9g} {5:.9g} {4:.9g}   {2:.9g} {5:.9g} {4:.9g}   {2:.9g} {5:.9g} {3:.9g}   {1:.9g} {5:.9g} {3:.9g}   0 1 0
        v 0 n 4   v 1 n 4   v 2 n 4   v 3 n 4
        p 0 1 2 3
    end group
end object
instance "{0} here" "{0} plane" material "{0} material" end instance
)",
               name, c.x - half, c.x + half, c.z - half, c.z + half, bounds.low.y);
    return name + " here";
}

} // namespace orca::bridge
