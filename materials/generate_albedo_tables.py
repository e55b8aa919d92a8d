#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Writes velaAlbedoTables.cpp: the share of light that rough layers reflect, by roughness and cosine of the view.

    python3 materials/generate_albedo_tables.py > materials/velaAlbedoTables.cpp

Facets have the GGX distribution and Smith's shadowing correlated by height. Light that is reflected once is split into
the part of the reflectance at normal incidence and that at grazing incidence, between which Schlick's approximation
interpolates, so that one table serves every material. The integrals are means over the visible normals, at the middles
of a square grid of strata.
"""
import math

SIZE = 32      # of both axes; the files that look the tables up have it too
STRATA = 64    # of each of the two dimensions
SHEEN_SIZE = 16


def cosine(index, size):
    """Axis of the cosines: closer toward grazing views, where the share changes fast."""
    return max((index / (size - 1)) ** 2, 1e-3)


def masking(cosine, alpha):
    tangent2 = (1.0 - cosine * cosine) / (cosine * cosine)
    return 0.5 * (math.sqrt(1.0 + alpha * alpha * tangent2) - 1.0)


def visible_normal(view, alpha, u1, u2):
    """Heitz, "Sampling the GGX Distribution of Visible Normals", 2018."""
    x, z = alpha * view[0], view[2]
    norm = math.hypot(x, z)
    x, z = x / norm, z / norm
    radius, angle = math.sqrt(u1), 2.0 * math.pi * u2
    t1, t2 = radius * math.cos(angle), radius * math.sin(angle)
    s = 0.5 * (1.0 + z)
    t2 = (1.0 - s) * math.sqrt(max(0.0, 1.0 - t1 * t1)) + s * t2
    along = math.sqrt(max(0.0, 1.0 - t1 * t1 - t2 * t2))
    # The basis of the view is (0, 1, 0) and (-z, 0, x).
    n = (-z * t2 + x * along, t1, x * t2 + z * along)
    n = (alpha * n[0], alpha * n[1], max(1e-9, n[2]))
    norm = math.sqrt(sum(c * c for c in n))
    return tuple(c / norm for c in n)


def facets(mu, roughness):
    """Shares for a reflectance of 1 at normal incidence and 0 at grazing incidence, and the other way round."""
    alpha = roughness * roughness
    if alpha < 1e-5:
        fresnel = (1.0 - mu) ** 5
        return 1.0 - fresnel, fresnel
    view = (math.sqrt(1.0 - mu * mu), 0.0, mu)
    view_masking = masking(mu, alpha)
    normal = grazing = 0.0
    for i in range(STRATA):
        for j in range(STRATA):
            half = visible_normal(view, alpha, (i + 0.5) / STRATA, (j + 0.5) / STRATA)
            facing = view[0] * half[0] + view[2] * half[2]
            light = 2.0 * facing * half[2] - view[2]
            if light <= 0.0:
                continue
            seen = (1.0 + view_masking) / (1.0 + view_masking + masking(light, alpha))
            fresnel = (1.0 - facing) ** 5
            normal += (1.0 - fresnel) * seen
            grazing += fresnel * seen
    return normal / STRATA ** 2, grazing / STRATA ** 2


def sheen(mu, roughness):
    """Share that fibres reflect: the distribution of Estevez and Kulla, "Production Friendly Microfacet Sheen BRDF",
    2017, with the masking of Neubelt and Pettineo, "Crafting a Next-Gen Material Pipeline", 2013."""
    inverse = 1.0 / max(roughness, 0.07)
    total, polar, azimuths = 0.0, 96, 96
    sine = math.sqrt(1.0 - mu * mu)
    for i in range(polar):
        light = (i + 0.5) / polar
        across = math.sqrt(1.0 - light * light)
        for j in range(azimuths):
            angle = math.pi * (j + 0.5) / azimuths
            x, y, z = across * math.cos(angle) + sine, across * math.sin(angle), light + mu
            squared = z * z / (x * x + y * y + z * z)
            density = (2.0 + inverse) * max(0.0, 1.0 - squared) ** (0.5 * inverse) / (2.0 * math.pi)
            total += density * light / (4.0 * (light + mu - light * mu))
    return total * 2.0 * math.pi / (polar * azimuths)


def mean(values, size):
    """Cosine-weighted mean over the cosines, by the trapezoidal rule on the axis."""
    total = 0.0
    for k in range(size - 1):
        a, b = (k / (size - 1)) ** 2, ((k + 1) / (size - 1)) ** 2
        # Exact for a share that is linear between the two.
        va, vb = values[k], values[k + 1]
        slope = (vb - va) / (b - a)
        total += (va - slope * a) * (b * b - a * a) + slope * 2.0 / 3.0 * (b ** 3 - a ** 3)
    return total


def write(name, comment, rows):
    print(f"\n// {comment}")
    print(f"const float {name}[{len(rows)}][{len(rows[0])}] = {{")
    for row in rows:
        print("    {" + ", ".join(f"{v:.5f}f" for v in row) + "},")
    print("};")


def write_means(name, rows):
    print(f"const float {name}[{len(rows)}] = {{" + ", ".join(f"{mean(r, len(r)):.5f}f" for r in rows) + "};")


def main():
    print("// SPDX-License-Identifier: Apache-2.0")
    print("// Written by generate_albedo_tables.py; do not edit.")
    print('#include "velaAlbedoTables.h"\n\n// clang-format off\nnamespace vela {')
    both = [[facets(cosine(k, SIZE), r / (SIZE - 1)) for k in range(SIZE)] for r in range(SIZE)]
    normal = [[n for n, _ in row] for row in both]
    grazing = [[g for _, g in row] for row in both]
    fibres = [[sheen(cosine(k, SHEEN_SIZE), r / (SHEEN_SIZE - 1)) for k in range(SHEEN_SIZE)]
              for r in range(SHEEN_SIZE)]
    write("facetsAtNormal", "Rows: roughness 0 to 1. Columns: square root of the cosine of the view, 0 to 1.", normal)
    write_means("meanFacetsAtNormal", normal)
    write("facetsAtGrazing", "The same for light at grazing incidence on the facets.", grazing)
    write_means("meanFacetsAtGrazing", grazing)
    write("fibres", "The same for sheen.", fibres)
    print("\n} // namespace vela")


if __name__ == "__main__":
    main()
