# The figures of docs/performance.md. Called by bench/report.py with `data` and `plots`, two folders.

# On white, so that a dark page shows them as a light one does.
set terminal svg size 720,400 font "sans-serif,13" background "#ffffff"
set border 3 lc rgb "#444444"
set tics nomirror out
set grid lc rgb "#dddddd" lt 1
set key top left reverse Left samplen 2 noopaque
set datafile missing "?"
set style line 1 lc rgb "#0072b2" lw 2 pt 7 ps 0.6
set style line 2 lc rgb "#d55e00" lw 2 pt 5 ps 0.6
set style line 3 lc rgb "#009e73" lw 2 pt 9 ps 0.7
file(name) = data . "/" . name . ".dat"
figure(name) = plots . "/" . name . ".svg"

set output figure("lookup")
set title "Look-up of one URL, the whole job"
set ylabel "nanoseconds a URL"
set yrange [0:*]
set style fill solid 0.9
set boxwidth 0.6
set offsets 0.5, 0.5, 0, 0
plot file("lookup") using 0:2:xtic(1) with boxes ls 1 notitle, \
     "" using 0:2:(sprintf("%.0f", $2)) with labels offset 0,0.7 notitle
unset offsets

two = "vu libpsl"
set output figure("labels")
set title "Cost against the number of labels"
set xlabel "labels of the host"
set ylabel "nanoseconds a URL"
set logscale x 2
plot for [i=1:2] file("labels") using 1:(column(i+1)) with linespoints ls i title word(two, i)

set output figure("host-length")
set title "Cost against the length of the host, four labels"
set xlabel "bytes of the host"
unset logscale x
plot for [i=1:2] file("host-length") using 1:(column(i+1)) with linespoints ls i title word(two, i)

set output figure("table-size")
set title "Cost against the size of the table"
set xlabel "suffixes in the table"
set logscale x 10
set format x "10^{%L}"
plot for [i=1:2] file("table-size") using 1:(column(i+1)) with linespoints ls i title word(two, i)
set format x "% h"

set output figure("threads")
set title "Throughput against threads, one table"
set xlabel "threads"
set ylabel "million URLs a second"
set logscale x 2
plot file("threads") using 1:2 with linespoints ls 1 title "vu"

ciphers = "'vu' 'OpenSSL, set up for each message' 'OpenSSL, bare update'"
set xlabel "bytes of the message"
set xtics ("16" 16, "64" 64, "256" 256, "1 Ki" 1024, "4 Ki" 4096, "16 Ki" 16384, "64 Ki" 65536, \
           "256 Ki" 262144, "1 Mi" 1048576)
set key bottom right
set ylabel "megabytes a second"
set logscale y 10
set yrange [*:*]
do for [way in "encipher decipher"] {
  set output figure(way)
  set title "AES-256-CBC, " . way . "ing: throughput against message size"
  plot for [i=1:3] file(way) using 1:(column(i+1)) with linespoints ls i title word(ciphers, i)
}
set xtics autofreq
set key top left

parsers = "vu tinyxml2 pugixml"
set logscale x 10
set format x "10^{%L}"
set output figure("xml-size")
set title "XML: throughput against the size of the feed"
set xlabel "items of about 110 bytes"
set yrange [10:10000]
plot for [i=1:3] file("xml") using 1:(column(i+1)) with linespoints ls i title word(parsers, i)
set output figure("xml-depth")
set title "XML: throughput against depth, 256 KiB"
set xlabel "nested elements"
set logscale x 2
set format x "% h"
plot for [i=1:3] file("xml-depth") using 1:(column(i+1)) with linespoints ls i title word(parsers, i)
