"""Prints the figures of run.py as tables."""

import calibration


def percent(value):
    return "-" if value is None else f"{100 * value:.2f} %"


def number(value):
    return "-" if value is None else f"{value:.0f}"


def print_codes(group, results):
    """`results` is {style: {reader: row}}; the rows of the trained reader come first."""
    print(f"\nRendered codes, group {group}: character error, exact lines (spaces aside), cost of an "
          "image\n")
    print("| style | reader | character error | exact lines | with patterns (matched) | polarity "
          "not shown | claimed / true | wall ms | CPU ms | training CPU s |")
    print("|---|---|---|---|---|---|---|---|---|---|")
    for style, rows in results.items():
        for name, row in rows.items():
            name += f" ({row['variant']})" if "variant" in row else ""
            print(f"| {style} | {name} | {percent(row['character_error'])} "
                  f"| {percent(row.get('exact_lines'))} | {_patterns(row)} "
                  f"| {percent(row.get('inverted_exact_lines'))} | {_claim(row)} "
                  f"| {number(row.get('wall_ms'))} | {number(row.get('cpu_ms'))} "
                  f"| {number(row.get('train_cpu_s'))} |")
    _print_means(results)
    _print_difficulty(results)


def _patterns(row):
    if "pattern_exact_lines" not in row:
        return "-"
    return f"{percent(row['pattern_exact_lines'])} ({percent(row['pattern_matched'])})"


def _claim(row):
    if "held_out" not in row:
        return "-"
    return f"{percent(row['held_out'])} / {percent(row['marks_right'])}"


def _print_means(results):
    print("\n| trained on | exact lines, mean | worst style | with patterns, mean | worst style "
          "| polarity not shown, mean | worst style | training CPU s, mean |")
    print("|---|---|---|---|---|---|---|---|")
    for reader in next(iter(results.values())):
        rows = [style[reader] for style in results.values()]
        if "train_cpu_s" in rows[0]:
            cells = []
            for key in ("exact_lines", "pattern_exact_lines", "inverted_exact_lines"):
                values = [row[key] for row in rows]
                cells += [percent(sum(values) / len(values)), percent(min(values))]
            cpu = sum(row["train_cpu_s"] for row in rows) / len(rows)
            print(f"| {reader} | {' | '.join(cells)} | {cpu:.0f} |")


def _print_difficulty(results):
    unread = sum(max(rows["Tesseract, page"]["exact_lines"],
                     rows["Tesseract, line crops"]["exact_lines"]) < 0.1
                 for rows in results.values())
    moderate = sum(0.03 <= rows["HOG + SVM, true places"]["character_error"] <= 0.11
                   for rows in results.values())
    print(f"\nDifficulty: Tesseract is under 10 % exact lines on {unread} of {len(results)} styles; "
          f"HOG + SVM errs 3 to 11 % on {moderate}.")


def print_calibration(group, results):
    """Pools the characters that each reader read in all styles of the group."""
    for reader in next(iter(results.values())):
        verdicts = sum((rows[reader].get("verdicts", []) for rows in results.values()), [])
        if not verdicts:
            continue
        print(f"\nScores of characters, group {group}, {reader}: the share that is right differs by "
              f"{percent(calibration.expected_error(verdicts))} from the score on average\n")
        print("| score from | to | characters | mean score | right |\n|---|---|---|---|---|")
        for low, high, count, mean, right in calibration.table(verdicts):
            print(f"| {low} | {high} | {count} | {percent(mean)} | {percent(right)} |")


def print_fine_tuning(rows):
    """`rows` are fine_tuning.measure_pair's."""
    print("\nA reader of the first style, trained further on the second: exact lines\n")
    print("| first, second | second: anew | trained further | first: before | after "
          "| training CPU s: anew | further |\n|---|---|---|---|---|---|---|")
    for row in rows:
        print(f"| {row['first']}, {row['second']} | {percent(row['anew'])} "
              f"| {percent(row['further'])} | {percent(row['before'])} | {percent(row['after'])} "
              f"| {number(row['anew_cpu_s'])} | {number(row['further_cpu_s'])} |")
    gain, loss = (100 * sum(row[new] - row[old] for row in rows) / len(rows)
                  for new, old in (("further", "anew"), ("after", "before")))
    print(f"\nMean: second style {gain:+.1f} points, first style {loss:+.1f}.")


def print_letter(rows):
    print("\nScanned letter: marked characters that were not trained on\n")
    print("| reader | errors | marks | error | CPU ms | training CPU s |\n|---|---|---|---|---|---|")
    for name, row in rows.items():
        print(f"| {name} | {row['errors']} | {row['marks']} "
              f"| {percent(row['errors'] / row['marks'])} | {number(row['cpu_ms'])} "
              f"| {number(row.get('train_cpu_s'))} |")


def print_speed(rows):
    print("\nReading 1280 x 1024, characters about 30 pixels high\n")
    print("| reader, page | wall ms | CPU ms | characters read of those there |\n|---|---|---|---|")
    for name, row in rows.items():
        print(f"| {name} | {number(row['wall_ms'])} | {number(row['cpu_ms'])} "
              f"| {percent(row['read'])} |")
