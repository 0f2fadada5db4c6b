// The look of the report.
#pragma once

namespace telvar_host {

inline constexpr const char* kStyle = R"css(
:root{--ink:#1c2430;--soft:#5b6675;--line:#dde3ea;--paper:#f6f8fa;--card:#fff;--accent:#0072b2;--bad:#c2410c;
--heat:0,114,178}
@media(prefers-color-scheme:dark){:root{--ink:#e6ebf1;--soft:#9aa7b6;--line:#303a47;--paper:#12171d;--card:#1a2129;
--accent:#56b4e9;--bad:#fb923c;--heat:86,180,233}}
*{box-sizing:border-box}
body{margin:0;background:var(--paper);color:var(--ink);font:16px/1.5 system-ui,"Segoe UI","DejaVu Sans",sans-serif}
main{max-width:1120px;margin:0 auto;padding:28px 20px 64px}
header h1{font-size:30px;line-height:1.2;margin:0 0 6px}
header p,.lead{color:var(--soft);margin:0 0 20px;max-width:76ch}
nav{display:flex;flex-wrap:wrap;gap:8px;margin:0 0 24px}
nav a{color:var(--accent);text-decoration:none;border:1px solid var(--line);border-radius:99px;padding:3px 14px;
background:var(--card)}
section{background:var(--card);border:1px solid var(--line);border-radius:12px;padding:22px 24px;margin:0 0 24px}
h2{font-size:22px;margin:0 0 4px}h3{font-size:16px;margin:26px 0 10px}
.figures{display:grid;grid-template-columns:repeat(auto-fit,minmax(132px,1fr));gap:12px;margin:4px 0 8px}
.figure{border:1px solid var(--line);border-radius:10px;padding:10px 14px}
.figure b{display:block;font-size:24px;line-height:1.25;font-variant-numeric:tabular-nums}
.figure span{color:var(--soft);font-size:13px}
.columns{display:grid;grid-template-columns:minmax(0,1.2fr) minmax(0,1fr);gap:8px 32px;align-items:start}
@media(max-width:900px){.columns{grid-template-columns:minmax(0,1fr)}}
.scroll{overflow-x:auto}
table{border-collapse:collapse;font-size:14px;font-variant-numeric:tabular-nums}
th,td{padding:4px 10px;border-bottom:1px solid var(--line);text-align:left;vertical-align:top}
th{color:var(--soft);font-weight:600}
.matrix{font-size:13px}.matrix td,.matrix th{text-align:right;padding:3px 7px;border:1px solid var(--line);white-space:nowrap}
.matrix td.right{font-weight:700}.matrix td.zero{color:transparent}
.matrix th.turned{vertical-align:bottom;padding:8px 2px}
.matrix th.turned span{writing-mode:vertical-rl;transform:rotate(180deg);display:inline-block}
.cards{display:grid;grid-template-columns:repeat(auto-fill,minmax(132px,1fr));gap:12px;max-height:760px;overflow-y:auto;
padding-right:6px}
@media print{.cards{max-height:none;overflow:visible}}
.cards.wide{grid-template-columns:1fr}
.cards.medium{grid-template-columns:repeat(auto-fill,minmax(220px,1fr))}
.card{border:1px solid var(--line);border-radius:10px;overflow:hidden;font-size:13px;line-height:1.35;background:var(--paper)}
.card img{display:block;max-width:100%;height:auto;margin:0 auto}
.cards:not(.wide):not(.medium) .card img{width:112px;height:112px;object-fit:contain;margin-top:10px}
.card>div{padding:8px 12px 10px;overflow-wrap:anywhere}
.card b{display:block}.card>div>span{color:var(--soft);display:block}.card .file{font-size:12px}
.card.bad b{color:var(--bad)}
.text{font-family:ui-monospace,"DejaVu Sans Mono",monospace;font-size:14px;white-space:pre-wrap;overflow-wrap:anywhere}
.text .miss{background:rgba(194,65,12,.25);border-radius:3px;padding:0 1px}
code{white-space:nowrap}
img.sharp{image-rendering:pixelated}
details{margin:14px 0 0}summary{cursor:pointer;font-weight:600;margin-bottom:10px}
.bar{height:14px;border-radius:4px;background:var(--accent);min-width:2px}
.bars{width:100%;max-width:640px}.bars td{padding:3px 10px}.bars td:nth-child(2){width:60%}.bars td:last-child{text-align:right}
.swatch{display:inline-block;width:11px;height:11px;border-radius:3px;margin-right:7px}
svg{max-width:100%;height:auto}svg text{fill:var(--soft);font-size:12px}
svg .axis{stroke:var(--line)}svg .curve{fill:none;stroke:var(--accent);stroke-width:2.2}
svg .mark{stroke:var(--bad);stroke-dasharray:4 4}
.page img{width:100%;height:auto;border:1px solid var(--line);border-radius:8px}
.good{color:#15803d}footer{color:var(--soft);font-size:13px}
)css";

}  // namespace telvar_host
