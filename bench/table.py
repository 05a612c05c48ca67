#!/usr/bin/env python3
"""Prints one table from the JSON files the benchmarks wrote: each operation's
figure, the baseline measured in the same run, and their ratio. Where a
benchmark was repeated, the fastest repetition counts, for figure and baseline
alike."""
import json
import sys

FRAME_BUDGET_MS = 16.7

# (operation, figure, baseline); a baseline that is a number is a fixed budget.
ROWS = [
    ("Text show load, 200x50x4", "BM_LoadShow/0", "BM_LoadFloor/0", "minimal parse"),
    ("Binary show load, 200x50x4", "BM_LoadShow/1", "BM_LoadFloor/1", "minimal parse"),
    ("Text show save, 200x50x4", "BM_SaveShow/0", "BM_SaveFloor/0", "write-only"),
    ("Binary show save, 200x50x4", "BM_SaveShow/1", "BM_SaveFloor/1", "write-only"),
    ("Minimal parse, text", "BM_LoadFloor/0", "BM_PlainRead/0", "plain read"),
    ("Minimal parse, binary", "BM_LoadFloor/1", "BM_PlainRead/1", "plain read"),
    ("Write-only, text", "BM_SaveFloor/0", "BM_PlainWrite/0", "plain write"),
    ("Write-only, binary", "BM_SaveFloor/1", "BM_PlainWrite/1", "plain write"),
    ("Undo step, one slide of 50 icons", "BM_UndoStep/0", FRAME_BUDGET_MS, "frame budget"),
    ("Undo step, whole 200x50x4 show", "BM_UndoStep/1", FRAME_BUDGET_MS, "frame budget"),
    ("Export 50 MB of pictures", "BM_ExportPackage", "BM_PlainCopyBaseline", "file copy"),
    ("Import 50 MB of pictures", "BM_ImportPackage", "BM_PlainCopyBaseline", "file copy"),
    ("Paint slide, 500 icons", "BM_PaintSlide/500/real_time", FRAME_BUDGET_MS, "frame budget"),
    ("Paint slide, 1000 icons", "BM_PaintSlide/1000/real_time", FRAME_BUDGET_MS, "frame budget"),
    ("Slide change, cold, 1280x960", "BM_SlideChangeCold/1280/960/iterations:30/real_time",
     "BM_SlideChangeFloor/1280/960/real_time", "slide without picture"),
    ("Slide change, cold, 1920x1080", "BM_SlideChangeCold/1920/1080/iterations:30/real_time",
     "BM_SlideChangeFloor/1920/1080/real_time", "slide without picture"),
    ("Slide change, warm, 1280x960", "BM_SlideChangeWarm/1280/960/real_time",
     "BM_SlideChangeFloor/1280/960/real_time", "slide without picture"),
    ("Slide change, warm, 1920x1080", "BM_SlideChangeWarm/1920/1080/real_time",
     "BM_SlideChangeFloor/1920/1080/real_time", "slide without picture"),
    ("Drag over 500 icons, per frame", "BM_DragOver500Icons/real_time", FRAME_BUDGET_MS, "frame budget"),
    ("Start-up to first paint", "BM_EditorWithExample/iterations:10/real_time",
     "BM_MinimalQtWidget/iterations:10/real_time", "minimal Qt widget"),
    ("Start-up, 2000-slide show, text", "BM_EditorWithLargeShow/0/iterations:10/real_time",
     "BM_MinimalQtWidget/iterations:10/real_time", "minimal Qt widget"),
    ("Start-up, 2000-slide show, binary", "BM_EditorWithLargeShow/1/iterations:10/real_time",
     "BM_MinimalQtWidget/iterations:10/real_time", "minimal Qt widget"),
    ("Block parser, 1M lines", "BM_BlockParserTokens", "BM_GetlineBaseline", "getline"),
]

UNIT_TO_MS = {"ns": 1e-6, "us": 1e-3, "ms": 1.0, "s": 1e3}


def main(paths):
    times = {}
    for path in paths:
        with open(path) as f:
            for b in json.load(f)["benchmarks"]:
                if b.get("run_type", "iteration") != "iteration" or b.get("error_occurred"):
                    continue
                ms = b["real_time"] * UNIT_TO_MS[b.get("time_unit", "ns")]
                times[b["name"]] = min(ms, times.get(b["name"], ms))
    header = f"{'Operation':34} {'Figure ms':>10} {'Baseline ms':>12} {'Ratio':>7}  Baseline"
    print(header)
    print("-" * len(header))
    missing = []
    for name, figure, baseline, what in ROWS:
        if figure not in times or (isinstance(baseline, str) and baseline not in times):
            missing.append(name)
            continue
        base = baseline if isinstance(baseline, float) else times[baseline]
        print(f"{name:34} {times[figure]:10.2f} {base:12.2f} {times[figure] / base:7.2f}  {what}")
    for name in missing:
        print(f"{name:34} {'(not measured: see the benchmark output)':>40}")


if __name__ == "__main__":
    main(sys.argv[1:])
