# The peer's side of the side-by-side run, executed inside the peer application in background mode:
# N empties, each with a Copy Location constraint to one of 3 animated targets, stepped through 24
# frames, and the same N empties unconstrained. Only the frame steps are timed, not the scene
# building nor the first evaluation of the dependency graph. Prints one key=value line.
import sys
import time

import bpy

FRAMES = 24


def build(n, constrained):
    bpy.ops.wm.read_factory_settings(use_empty=True)
    scene = bpy.context.scene
    targets = []
    for j in range(3):
        target = bpy.data.objects.new("target%d" % j, None)
        scene.collection.objects.link(target)
        target.location = (2.0 * j, 0.0, 0.0)
        target.keyframe_insert("location", frame=1)
        target.location = (2.0 * j + 6.0, 3.0, 1.0)
        target.keyframe_insert("location", frame=FRAMES)
        targets.append(target)
    for i in range(n):
        empty = bpy.data.objects.new("e%d" % i, None)
        scene.collection.objects.link(empty)
        empty.location = (0.5 * (i % 100), 0.5 * ((i // 100) % 100), 0.25 * (i % 7))
        if constrained:
            constraint = empty.constraints.new("COPY_LOCATION")
            constraint.target = targets[i % 3]
    return scene


def step(scene):
    # The one-time graph build happens here, before the clock starts.
    scene.frame_set(FRAMES + 1)
    bpy.context.view_layer.update()
    cpu0 = time.process_time()
    wall0 = time.perf_counter()
    for frame in range(1, FRAMES + 1):
        scene.frame_set(frame)
    return time.process_time() - cpu0, time.perf_counter() - wall0


def main():
    n = int(sys.argv[sys.argv.index("--") + 1])
    step(build(n, True))  # warm-up
    constrained = step(build(n, True))
    unconstrained = step(build(n, False))
    print("side=peer n=%d frames=%d constrained_cpu=%.6f constrained_wall=%.6f "
          "unconstrained_cpu=%.6f unconstrained_wall=%.6f"
          % (n, FRAMES, constrained[0], constrained[1], unconstrained[0], unconstrained[1]))
    sys.stdout.flush()


main()
