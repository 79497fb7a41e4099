// Times Color Thief's palette extraction on a folder of PNG icons, on pixels decoded beforehand,
// so only the analysis is measured (as in colour_bench). Rates are per CPU second.
//   node palette-bench.mjs PNG_DIR [seconds]
// Prints one JSON object per configuration.
import { readdirSync, readFileSync } from "node:fs";
import { join } from "node:path";
import { PNG } from "pngjs";
import { getPalette } from "colorthief";

const dir = process.argv[2];
const seconds = Number(process.argv[3] ?? 3);
if (!dir) {
    console.error("usage: node palette-bench.mjs PNG_DIR [seconds]");
    process.exit(2);
}

const images = readdirSync(dir)
    .filter((name) => name.endsWith(".png"))
    .sort()
    .map((name) => {
        const png = PNG.sync.read(readFileSync(join(dir, name)));
        return { data: new Uint8Array(png.data), width: png.width, height: png.height, colorSpace: "srgb" };
    });
if (images.length === 0) {
    console.error(`no PNG files in ${dir}`);
    process.exit(1);
}

// The pixels are already decoded: hand them over as they are.
const loader = { load: async (source) => source };

async function run(label, options) {
    for (let i = 0; i < Math.min(images.length, 200); ++i) await getPalette(images[i], { ...options, loader });
    let count = 0;
    const start = process.hrtime.bigint();
    const cpuStart = process.cpuUsage();
    const budget = BigInt(Math.round(seconds * 1e9));
    while (process.hrtime.bigint() - start < budget) {
        for (const image of images) {
            await getPalette(image, { ...options, loader });
            ++count;
        }
    }
    const elapsed = Number(process.hrtime.bigint() - start) / 1e9;
    const cpu = process.cpuUsage(cpuStart);
    const cpuSeconds = (cpu.user + cpu.system) / 1e6;
    // CPU time, like Google Benchmark's rates, so that other load on the machine does not count.
    console.log(JSON.stringify({
        label, icons: images.length, analysed: count, seconds: elapsed, cpuSeconds,
        iconsPerSecond: count / cpuSeconds, iconsPerWallSecond: count / elapsed,
    }));
}

await run("colorthief quality 1 (every pixel), 6 colours", { colorCount: 6, quality: 1 });
await run("colorthief default quality 10 (every 10th pixel), 6 colours", { colorCount: 6 });
