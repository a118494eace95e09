// Draws the page's plots from the data in its element "plots", in the colours of the
// style sheet.
(function () {
  "use strict";
  const root = document.documentElement;
  const plots = JSON.parse(document.getElementById("plots").textContent);
  const charts = [];
  const pen = document.createElement("canvas").getContext("2d");
  const legendRoom = 200;  // the width of a series' name, in pixels

  function colour(name) {
    return getComputedStyle(root).getPropertyValue("--" + name).trim();
  }

  function number(value) {
    return value.toLocaleString("en", {
      maximumSignificantDigits: 6,
      notation: Math.abs(value) < 1e15 ? "standard" : "scientific",
    });
  }

  // The beginning and the end of a name that is wider than so many pixels. Letters are
  // not of one width.
  function cut(name, most) {
    const letters = Array.from(name);
    let shown = name;
    for (let half = Math.floor(letters.length / 2);
         half > 0 && pen.measureText(shown).width > most; --half) {
      shown = letters.slice(0, half).join("") + "\u2026" +
              letters.slice(letters.length - half).join("");
    }
    return shown;
  }

  function lines(name) {
    return name.match(/.{1,48}/gsu) || [""];
  }

  // How wide a name beside a bar, or below a line, may be.
  function room(chart) {
    return Math.max(60, Math.min(260, chart.width / 3));
  }

  function tooltip(plot) {
    return {
      callbacks: {
        title: (items) => {
          const item = items[0];
          if (plot.kind === "bars") {
            return lines(plot.names[item.dataIndex]);
          }
          return lines(plot.series[item.datasetIndex].labels[item.dataIndex]);
        },
        label: (item) => {
          const value = plot.kind === "bars" ? item.parsed.x : item.parsed.y;
          const shown = plot.series[item.datasetIndex].shown;
          return cut(item.dataset.label, legendRoom) + ": " +
                 number(shown ? shown[item.dataIndex] : value) + " " + plot.unit;
        },
      },
    };
  }

  function bars(plot) {
    return {
      type: "bar",
      data: {
        labels: plot.names,
        datasets: plot.series.map((one) => ({
          label: one.name, data: one.values, maxBarThickness: 18,
        })),
      },
      options: {
        indexAxis: "y",
        scales: {
          x: {
            beginAtZero: true, stacked: plot.stacked,
            title: { display: true, text: plot.unit },
          },
          y: {
            stacked: plot.stacked, grid: { display: false },
            ticks: {
              autoSkip: false,
              callback: function (index) {
                return cut(plot.names[index], room(this.chart));
              },
            },
          },
        },
      },
    };
  }

  function curves(plot) {
    const few = plot.series.every((one) => one.x.length <= 60);
    return {
      type: "line",
      data: {
        datasets: plot.series.map((one) => ({
          label: one.name,
          data: one.x.map((x, i) => ({ x: x, y: one.y[i] })),
          stepped: plot.stepped ? "after" : false,
          borderWidth: 2, pointRadius: few && !plot.stepped ? 3 : 0,
          clip: 4,  // the first and the last point lie on the edge
        })),
      },
      options: {
        interaction: { mode: "nearest", axis: "x", intersect: false },
        scales: {
          x: {
            type: "linear", min: 0, max: plot.most,
            title: { display: true, text: plot.across },
            ticks: plot.ticks ? {
              stepSize: 1,
              callback: function (x) {
                return plot.ticks[x] === undefined ? "" : cut(plot.ticks[x], room(this.chart));
              },
            } : { includeBounds: false },
          },
          y: { beginAtZero: true, title: { display: true, text: plot.unit } },
        },
      },
    };
  }

  function legend(plot) {
    return {
      display: plot.series.length > 1, align: "start",
      labels: {
        boxWidth: 12,
        generateLabels: (chart) =>
          Chart.defaults.plugins.legend.labels.generateLabels(chart).map((label) => {
            label.text = cut(label.text, legendRoom);
            return label;
          }),
      },
    };
  }

  // Anew for other colours, which a plot keeps once it is made.
  function draw() {
    Chart.defaults.color = colour("quiet");
    Chart.defaults.borderColor = colour("line");
    charts.splice(0).forEach((chart) => chart.destroy());
    document.querySelectorAll("canvas").forEach((canvas, i) => {
      const plot = plots[i];
      const config = plot.kind === "bars" ? bars(plot) : curves(plot);
      config.data.datasets.forEach((dataset, k) => {
        dataset.backgroundColor = dataset.borderColor = colour("c" + k % 5);
      });
      config.options.plugins = { legend: legend(plot), tooltip: tooltip(plot) };
      charts.push(new Chart(canvas, config));
    });
  }

  Chart.defaults.animation = false;
  Chart.defaults.maintainAspectRatio = false;
  Chart.defaults.locale = "en";
  Chart.defaults.font.family = getComputedStyle(document.body).fontFamily;
  pen.font = Chart.defaults.font.size + "px " + Chart.defaults.font.family;
  draw();

  matchMedia("(prefers-color-scheme: dark)").addEventListener("change", draw);
  // Paper is white, and narrower than most windows.
  addEventListener("beforeprint", () => {
    root.classList.add("printed");
    draw();
    charts.forEach((chart) => chart.resize(Math.min(chart.width, 680), chart.height));
  });
  addEventListener("afterprint", () => {
    root.classList.remove("printed");
    draw();
  });
})();
