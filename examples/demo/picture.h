// Draws what an arm did, with gnuplot, as an SVG picture: joint angles over time, and the path of the tool
// from above and from the side.
#pragma once

#include <array>
#include <cstdio>
#include <string>
#include <vector>

struct Sample {
    double time;                 // s
    std::array<double, 7> joint; // degrees
    double x, y, z;              // tool position, m
};

// A stretch of time in which something particular happened.
struct Phase {
    enum class Shown { plain, over_time, along_path }; // where the picture stresses it

    double begin, end; // s
    std::string name;
    Shown shown;
};

// False when gnuplot is missing or fails.
inline bool draw(const std::string& file, const std::string& title, int joints,
                 const std::vector<Sample>& samples, const std::vector<Phase>& phases)
{
    FILE* plot = popen("gnuplot", "w");
    if (!plot) return false;
    fputs("set terminal svg size 1190,560 dynamic font 'sans-serif,12' background 'white'\n", plot);
    fprintf(plot, "set output '%s'\n", file.c_str());
    fputs("$arm << end\n", plot);
    for (const Sample& sample : samples) {
        fprintf(plot, "%.3f %.5f %.5f %.5f", sample.time, sample.x, sample.y, sample.z);
        for (int j = 0; j < joints; ++j)
            fprintf(plot, " %.3f", sample.joint[static_cast<size_t>(j)]);
        fputc('\n', plot);
    }
    fputs("end\nset grid linecolor '#e4e4e4'\nset border linecolor '#777777'\nset colorsequence podo\n",
          plot);
    fprintf(plot, "set multiplot title '%s' font ',16'\n", title.c_str());

    for (const Phase& phase : phases) {
        fprintf(plot, "set arrow from %.2f, graph 0 to %.2f, graph 1 nohead dashtype 3 linecolor '#aaaaaa'\n",
                phase.begin, phase.begin);
        fprintf(plot,
                "set label '%s' at %.2f, graph 0.02 offset 0.7,0 rotate textcolor '#888888' font ',10'\n",
                phase.name.c_str(), phase.begin);
        if (phase.shown == Phase::Shown::over_time)
            fprintf(plot,
                    "set object rectangle from %.2f, graph 0 to %.2f, graph 1 behind fillcolor '#fff0c8' "
                    "fillstyle noborder\n",
                    phase.begin, phase.end);
    }
    fprintf(
        plot,
        "set size 0.62,0.95\nset origin 0,0\nset key outside top center horizontal\n"
        "set xlabel 'time, s'\nset ylabel 'joint angles, degrees'\nset autoscale xfix\n"
        "plot for [j=1:%d] $arm using 1:(column(j+4)) with lines linewidth 2 title sprintf('joint %%d', j)\n",
        joints);

    // Column 2 is x, 3 is y, 4 is z.
    fputs("unset arrow\nunset label\nunset object\nset key off\nset size ratio -1 0.38,0.475\nset xlabel 'x, "
          "m'\nset xtics 0.2\nset ytics 0.2\n",
          plot);
    const auto tool_path = [&](const char* view, double top, char axis, int column) {
        fprintf(plot,
                "set origin 0.62,%g\nset ylabel '%c, m'\nset title 'tool path from %s'\n"
                "plot $arm using 2:%d with lines linewidth 2 linecolor 1,"
                " '' every ::0::0 using 2:%d with points pointtype 7 linecolor 1",
                top, axis, view, column, column);
        for (const Phase& phase : phases)
            if (phase.shown == Phase::Shown::along_path)
                fprintf(
                    plot,
                    ", '' using ($1 >= %.3f && $1 <= %.3f ? $2 : 1/0):%d with lines linewidth 4 linecolor 7",
                    phase.begin, phase.end, column);
        fputc('\n', plot);
    };
    tool_path("above", 0.475, 'y', 3);
    tool_path("the side", 0, 'z', 4);
    fputs("unset multiplot\n", plot);
    return pclose(plot) == 0;
}
