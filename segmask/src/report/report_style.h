#pragma once

namespace segmask {

/// The style sheet of the report: light and dark, for narrow and wide screens and for paper.
inline constexpr const char kReportStyle[] = R"css(
:root{color-scheme:light dark;--ground:#fff;--card:#f5f7f9;--text:#16202a;--quiet:#53606d;--line:#dce2e8;
--accent:#0b5fb5;--faint:#5b96d2;--r1:#c2410c;--r2:#7c3aed;--r3:#b87a00;--r4:#be185d;--r5:#4d7c0f;--r6:#6b7280}
@media (prefers-color-scheme:dark){:root{--ground:#11161c;--card:#1a2129;--text:#e7edf3;--quiet:#a3b0bd;--line:#2f3944;
--accent:#6cb2ff;--faint:#4a7fb5;--r1:#fb8a4c;--r2:#b79bff;--r3:#f3c04f;--r4:#f480b4;--r5:#a3d65c;--r6:#98a3b0}}
*{box-sizing:border-box}
html{-webkit-text-size-adjust:100%}
body{margin:0;background:var(--ground);color:var(--text);font:1rem/1.5 system-ui,-apple-system,"Segoe UI",Roboto,
"Noto Sans","Liberation Sans",Arial,sans-serif;font-variant-numeric:tabular-nums;overflow-wrap:anywhere}
header,main,footer{max-width:66rem;margin:0 auto;padding:0 1.25rem}
header{padding-top:2.25rem}
h1,h2,h3,p,dl,dd,ul,ol,figure{margin:0;padding:0}
ul,ol{list-style:none}
h1{font-size:clamp(1.5rem,1.1rem + 2vw,2.25rem);line-height:1.15;letter-spacing:-.015em;margin:.15rem 0 .5rem}
h2{font-size:1.25rem;line-height:1.3;letter-spacing:-.005em;margin-bottom:1rem}
h3{font-size:1rem;line-height:1.4}
.eyebrow{color:var(--accent);font-weight:600;font-size:.875rem}
.lede{font-size:1.125rem;max-width:46rem}
.meta,.unit,.note{color:var(--quiet);font-size:.875rem}
.meta{margin-top:.5rem}
.note{max-width:46rem}
section{padding:2rem 0 0;margin-top:2rem;border-top:1px solid var(--line)}
section:first-child{border-top:0;margin-top:0;padding-top:1.5rem}
section h2+.note{margin:-.5rem 0 1rem}
.tiles{display:grid;grid-template-columns:repeat(4,1fr);gap:.75rem}
.tiles div{background:var(--card);border-radius:.6rem;padding:.8rem .95rem;display:flex;flex-direction:column}
.tiles dt{color:var(--quiet);font-size:.875rem}
.tiles dd{font-size:1.5rem;font-weight:650;line-height:1.35;letter-spacing:-.01em}
.tiles dd.long{font-size:1.125rem;line-height:1.8}
.tiles dd.more{font-size:.8125rem;font-weight:400;color:var(--quiet);letter-spacing:0;line-height:1.4}
.tiles .first dd:not(.more){color:var(--accent)}
.strip{display:grid;grid-template-columns:repeat(auto-fill,minmax(15rem,1fr));gap:1.25rem 1rem}
.strip img{display:block;width:100%;height:auto;border-radius:.4rem;background:var(--card)}
.strip figcaption{font-size:.875rem;margin-top:.4rem;line-height:1.4}
.strip figcaption span{color:var(--quiet)}
.strip figure{position:relative}
.strip p{position:absolute;top:.5rem;left:.5rem;right:.5rem;display:flex;flex-wrap:wrap;gap:.25rem}
.badge{color:var(--ground);background:var(--accent);border-radius:.3rem;padding:.1rem .5rem;font-size:.75rem;font-weight:600}
.badge.drop{background:var(--text)}
.chart{margin-top:2rem}
.chart:first-of-type{margin-top:0}
.legend{display:flex;flex-wrap:wrap;gap:.15rem 1.1rem;font-size:.875rem;margin-top:.25rem}
.legend li{display:flex;align-items:center;gap:.4rem}
.key{width:.75rem;height:.75rem;border-radius:.2rem;flex:none}
.plot{display:grid;grid-template-columns:3rem 1fr;margin-top:.9rem}
.plot>svg{grid-column:2;grid-row:2;width:100%;height:11rem;overflow:visible;display:block}
.y{grid-column:1;grid-row:2;position:relative;font-size:.75rem;color:var(--quiet)}
.y span{position:absolute;right:.5rem;transform:translateY(-50%)}
.x{grid-column:2;grid-row:3;position:relative;height:1.4rem;font-size:.75rem;color:var(--quiet);margin-top:.3rem}
.x span{position:absolute;transform:translateX(-50%);white-space:nowrap}
.x .first{transform:none}
.x .last{transform:translateX(-100%)}
.axisname{grid-column:2;grid-row:4;font-size:.75rem;color:var(--quiet);text-align:center}
.grid{stroke:var(--line)}
.axis{stroke:var(--quiet)}
.mark{stroke:var(--text);stroke-width:1.5}
.mark.far{stroke-dasharray:3 3}
.over{fill:transparent}
g:hover>.over{fill:var(--text);fill-opacity:.1}
.cut{fill:var(--text)}
.drawn{fill:var(--accent)}.faint{fill:var(--faint)}
.r1{fill:var(--r1)}.r2{fill:var(--r2)}.r3{fill:var(--r3)}.r4{fill:var(--r4)}.r5{fill:var(--r5)}.r6{fill:var(--r6)}
table{border-collapse:collapse;min-width:min(100%,26rem);font-size:.875rem}
caption{text-align:left;color:var(--quiet);padding-bottom:.4rem}
th,td{text-align:left;padding:.4rem .9rem .4rem 0;border-bottom:1px solid var(--line);vertical-align:top}
th{font-weight:600}
thead th{color:var(--quiet);font-weight:500;white-space:nowrap}
.number{text-align:right;white-space:nowrap}
th small{display:block;color:var(--quiet);font-size:.8125rem;font-weight:400;max-width:44rem}
.scroll{overflow-x:auto;overflow-wrap:normal;margin-top:1rem}
.scroll:focus-visible,summary:focus-visible{outline:2px solid var(--accent);outline-offset:2px}
details{margin-top:1.25rem}
summary{cursor:pointer;color:var(--accent);font-size:.875rem;width:max-content;max-width:100%}
.classes{display:grid;grid-template-columns:repeat(auto-fill,minmax(13rem,1fr));gap:.6rem 1.25rem}
.classes li{display:flex;gap:.7rem;align-items:center;font-size:.875rem;line-height:1.35}
.classes svg{width:2rem;height:2rem;border-radius:.4rem;flex:none}
.classes small{display:block;color:var(--quiet);font-size:.8125rem}
pre,code{font-family:ui-monospace,"SF Mono",Menlo,Consolas,"Liberation Mono",monospace;font-size:.8125rem}
pre{margin:0;background:var(--card);border-radius:.6rem;padding:.9rem 1rem;white-space:pre-wrap;line-height:1.55}
code,pre,.word{unicode-bidi:isolate}
.word{white-space:nowrap}
.files{display:grid;gap:1rem}
.files dt{color:var(--quiet);font-size:.875rem}
.files dd code{color:var(--quiet)}
footer{color:var(--quiet);font-size:.875rem;padding-top:2.5rem;padding-bottom:2.5rem}
@media (max-width:36rem){header,main,footer{padding-left:1rem;padding-right:1rem}
.strip{grid-template-columns:1fr 1fr;gap:1rem .75rem}.tiles{grid-template-columns:1fr 1fr}.tiles dd{font-size:1.25rem}.tiles dd.long{font-size:1rem}
.plot{grid-template-columns:2.4rem 1fr}.plot>svg{height:9rem}}
@media print{:root{color-scheme:light;--ground:#fff;--card:#f5f7f9;--text:#000;--quiet:#444;--line:#ccc;--accent:#0b5fb5;
--faint:#5b96d2;--r1:#c2410c;--r2:#7c3aed;--r3:#b87a00;--r4:#be185d;--r5:#4d7c0f;--r6:#6b7280}
*{print-color-adjust:exact;-webkit-print-color-adjust:exact}
body{font-size:.85rem}header{padding-top:0}header,main,footer{max-width:none;padding-left:0;padding-right:0}
section{padding-top:1.1rem;margin-top:1.1rem}.chart,.strip li,.tiles,tr,.classes li,.files div,pre{break-inside:avoid}
h2,h3{break-after:avoid}.strip{grid-template-columns:repeat(4,1fr)}details:not([open]){display:none}
.plot>svg{height:8rem}@page{margin:15mm}}
)css";

}  // namespace segmask
