#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Writes the meshes of the example scenes as scene files, one object a file, and their images, into the folder
`generated`.

The same files come out on every machine. Python's standard library is all that is needed.
"""

import argparse
import pathlib
import sys
import time

import car
import city
import drapes
import fur
import gems
import head
import images
import jewel
import long_hair
import neon
import shapes
import toys

# Where things stand on the table: x, z and the radius of the foot, which keeps the cloth's folds away.
VASE, BOTTLE, BOWL = (-2.0, -1.15, 0.6), (2.05, -1.2, 0.6), (0.1, 0.25, 0.75)
KNOT, PEAR, CANDLE, WINDFALL = (2.3, 1.0, 0.6), (-1.45, 1.25, 0.45), (-2.85, 0.55, 0.4), (0.95, 1.95, 0.4)


def placed(mesh, place, height=0.0):
    return mesh.moved(place[0], height, place[1])


# name -> mesh maker. The apple stays at the origin, because the scene places several of it.
CATALOGUE = {
    "backdrop": shapes.backdrop,
    "cloth": lambda: shapes.cloth([BOWL, KNOT, PEAR, WINDFALL]),
    "vase": lambda: placed(shapes.vase(), VASE),
    "branches": lambda: placed(shapes.branches(), VASE),
    "bottle": lambda: placed(shapes.bottle(), BOTTLE),
    "bowl": lambda: placed(shapes.bowl(), BOWL, 0.015),
    "apple": shapes.apple,
    "pear": lambda: placed(shapes.pear(), PEAR, 0.015),
    "knot": lambda: placed(shapes.knot(), KNOT, 0.015),
    "candle": lambda: placed(shapes.candle(), CANDLE),
    "flame": lambda: placed(shapes.flame(), CANDLE, 1.66),
    "sphere": shapes.sphere,
    "spoked_wheel": shapes.wheel,
    "car_body": toys.car_body,
    "car_cabin": toys.car_cabin,
    "wheel": toys.wheel,
    "mug": toys.mug,
    "city_towers": city.towers,
    "city_ground": city.ground,
    "street_lamps": city.street_lamps,
    "head_lights": city.head_lights,
    "tail_lights": city.tail_lights,
    "neon_letters": neon.letters,
    "neon_swash": neon.swash,
    "cushion": shapes.cushion,
    "drum": shapes.drum,
    "lamp_shade": shapes.lamp_shade,
    "fur": fur.bear,
    "bust": head.bust,
    "coupe": car.body,
    "tyre": car.tyre,
    "rim": car.rim,
    "brake": car.brake,
    "velvet_drape": lambda: drapes.drape(9, 2.15, 0.4),
    "silk_drape": lambda: drapes.drape(11, 2.0, 2.1),
    "wool_drape": lambda: drapes.drape(8, 2.05, 4.4),
    "brilliant": gems.brilliant,
    "carafe": shapes.carafe,
    "prism": gems.prism,
    "mannequin_head": long_hair.head,
    "mannequin_bust": long_hair.bust,
    "long_hair": long_hair.hair,
    "gem": jewel.gem,
    "gem_band": jewel.band,
    "gem_claws": jewel.claws,
}


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--into", type=pathlib.Path, default=pathlib.Path(__file__).resolve().parent / "generated",
                        metavar="FOLDER", help="where to write the files (default: generated/ beside this script)")
    folder = parser.parse_args().into
    began = time.monotonic()
    total = 0
    try:
        folder.mkdir(parents=True, exist_ok=True)
        for label, (name, make) in enumerate(CATALOGUE.items(), start=1):
            mesh = make()
            total += len(mesh.triangles)
            partial = folder / f"{name}.mi.part"
            partial.write_text("# made by generate_meshes.py; edits here are lost\n" + mesh.scene_text(name, label))
            partial.replace(folder / f"{name}.mi")
            print(f"{name:10} {len(mesh.triangles):7} triangles")
        for name, make in images.CATALOGUE.items():
            partial = folder / f"{name}.part"
            partial.write_bytes(make())
            partial.replace(folder / name)
    except OSError as error:
        sys.exit(f"generate_meshes.py: cannot write {error.filename}: {error.strerror}")
    print(f"{total} triangles in {len(CATALOGUE)} meshes, {len(images.CATALOGUE)} images, {time.monotonic() - began:.1f} s, written to {folder}")


if __name__ == "__main__":
    main()
