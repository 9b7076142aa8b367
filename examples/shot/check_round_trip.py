# Checks a round trip through Blender: vexil-cook bakes examples/shot/shot.gltf (frames 1-24) into a
# glTF file, Blender imports that file, and the follower must stand where vexil-cook put it, at three
# frames. Not part of the test run (it needs Blender); see docs/gltf.md.
#
#   blender -b --factory-startup --python examples/shot/check_round_trip.py [-- VEXIL_COOK]
#
# Prints the follower's position at each frame on both sides, in glTF's coordinates, and exits with
# status 1 when they differ by more than 1e-4.
import json
import os
import subprocess
import sys
import tempfile

import numpy as np

np.bool = np.bool_  # the glTF add-on of Blender 3.4 still uses the alias numpy 1.24 removed

import bpy  # noqa: E402

here = os.path.dirname(os.path.abspath(__file__))
shot = os.path.join(here, "shot.gltf")
arguments = sys.argv[sys.argv.index("--") + 1:] if "--" in sys.argv else []
cook = arguments[0] if arguments else os.path.join(here, "..", "..", "build", "bin", "vexil-cook")
frames = (6, 13, 20)

baked = os.path.join(tempfile.mkdtemp(), "baked.glb")
subprocess.run([cook, "--quiet", "--frames", "1-24", "-o", baked, shot], check=True)


def cooked_position(frame):
    out = subprocess.run([cook, "--quiet", "--world", "--frame", str(frame), "--location", "/root/world/Follower",
                          shot], check=True, capture_output=True, text=True).stdout
    world = json.loads(out)["scene"]["attrs"]["world"]["double"]
    return world[12:15]


bpy.ops.wm.read_factory_settings(use_empty=True)
bpy.context.scene.render.fps = 24
bpy.ops.import_scene.gltf(filepath=baked)
follower = bpy.data.objects["Follower"]
worst = 0.0
print("frame | vexil-cook (glTF x, y, z)       | Blender after import (glTF x, y, z)")
for frame in frames:
    bpy.context.scene.frame_set(frame)
    x, y, z = follower.matrix_world.translation
    imported = (x, z, -y)  # Blender is z-up; glTF is y-up
    ours = cooked_position(frame)
    worst = max(worst, max(abs(a - b) for a, b in zip(ours, imported)))
    print("%5d | %-31s | %s" % (frame, "(%.6f, %.6f, %.6f)" % tuple(ours), "(%.6f, %.6f, %.6f)" % imported))
print("largest difference: %.2e" % worst)
sys.exit(0 if worst <= 1e-4 else 1)
